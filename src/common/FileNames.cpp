#include "common/FileNames.h"
#include "common/platform/Platform.h"
#include <QFile>
#include <QTextCodec>

namespace
{
constexpr ushort ByteBase = 0xef00, FirstByte = 0xef80, LastByte = 0xefff;

QTextCodec *utf8() { return QTextCodec::codecForName("UTF-8"); }

// How many bytes are a character here, 0: this one is no part of one.
int characterAt(const uchar *at, int left, uint *code)
{
    const int more = at[0] < 0x80 ? 0 : at[0] >= 0xc2 && at[0] < 0xe0 ? 1 : (at[0] & 0xf0) == 0xe0 ? 2 : 3;
    if (more >= left || (more == 3 && (at[0] < 0xf0 || at[0] > 0xf4)))
        return 0;
    *code = more == 0 ? at[0] : at[0] & (0x3fu >> more);
    for (int i = 1; i <= more; ++i) {
        if ((at[i] & 0xc0) != 0x80)
            return 0;
        *code = *code << 6 | (at[i] & 0x3fu);
    }
    const bool tooLong = (more == 2 && *code < 0x800) || (more == 3 && *code < 0x10000);
    const bool unstored = *code == 0xfffe || *code == 0xffff; // SQLite gives another character back for them
    return tooLong || unstored || (*code >= 0xd800 && *code <= 0xdfff) || *code > 0x10ffff ? 0 : more + 1;
}

QString decoded(const char *bytes, int length)
{
    const auto *in = reinterpret_cast<const uchar *>(bytes);
    if (std::all_of(in, in + length, [](uchar c) { return c < 0x80; }))
        return QString::fromLatin1(bytes, length);
    QString out;
    out.reserve(length);
    for (int i = 0; i < length;) {
        uint code = 0;
        const int size = characterAt(in + i, length - i, &code);
        if (size > 0 && (code < FirstByte || code > LastByte)) {
            if (QChar::requiresSurrogates(code))
                out += QChar(QChar::highSurrogate(code));
            out += QChar(QChar::requiresSurrogates(code) ? QChar::lowSurrogate(code) : ushort(code));
            i += size;
            continue;
        }
        for (const int end = i + qMax(1, size); i < end; ++i)
            out += QChar(ByteBase | in[i]);
    }
    return out;
}

QByteArray encoded(const QChar *text, int length)
{
    QByteArray out;
    for (int from = 0; from < length;) {
        int to = from;
        while (to < length && !FileNames::isByte(text[to]))
            ++to;
        out += QString::fromRawData(text + from, to - from).toUtf8();
        for (; to < length && FileNames::isByte(text[to]); ++to)
            out += char(text[to].unicode() & 0xff);
        from = to;
    }
    return out;
}

// The toolkit asks the system's codec for names without a state, and with IgnoreHeader whether one can be read at all
// (it leaves out what can't). Who reads content has a state of his own: to him this is UTF-8.
class NameCodec : public QTextCodec
{
public:
    QByteArray name() const override { return "vandrel-names"; }
    int mibEnum() const override { return -3106; } // none that is known, so that no name is judged as UTF-8

protected:
    QString convertToUnicode(const char *in, int length, ConverterState *state) const override
    {
        const bool name = !state || state->flags & IgnoreHeader;
        return name ? decoded(in, length) : utf8()->toUnicode(in, length, state);
    }
    QByteArray convertFromUnicode(const QChar *in, int length, ConverterState *state) const override
    {
        return state ? utf8()->fromUnicode(in, length, state) : encoded(in, length);
    }
};
} // namespace

void FileNames::install()
{
    if (!platform::isWindows())
        QTextCodec::setCodecForLocale(new NameCodec); // the toolkit's from here on
}

bool FileNames::isByte(QChar c) { return !platform::isWindows() && c >= QChar(FirstByte) && c <= QChar(LastByte); }

std::string FileNames::native(const QString &path)
{
    return platform::isWindows() ? path.toStdString() : encoded(path.constData(), path.size()).toStdString();
}

QString FileNames::text(const std::string &native)
{
    return platform::isWindows() ? QString::fromStdString(native) : decoded(native.data(), int(native.size()));
}

QString FileNames::shown(const QString &path)
{
    QString out;
    for (QChar c : path) {
        if (isByte(c))
            out += QStringLiteral("\\x%1")
                       .arg(c.unicode() & 0xff, 2, 16, QLatin1Char('0'))
                       .toUpper()
                       .replace("\\X", "\\x");
        else
            out += c;
    }
    return out;
}

QString FileNames::plain(const QString &name, QChar other)
{
    if (std::none_of(name.begin(), name.end(), isByte))
        return name;
    const QByteArray bytes = encoded(name.constData(), name.size());
    QString out;
    for (int i = 0; i < bytes.size();) {
        uint code = 0;
        const int size = characterAt(reinterpret_cast<const uchar *>(bytes.constData()) + i, bytes.size() - i, &code);
        out += size > 0 ? QString::fromUcs4(&code, 1) : QString(other);
        i += qMax(1, size);
    }
    return out;
}
