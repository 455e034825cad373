// Whatever a scene, a log or a frame text holds: the quick road through a result finds the files that the whole parser
// finds, a scene that was edited is edited once, and a frame text means the same when it is rewritten.
#include "resolve/ClarisseDeep.h"
#include "resolve/FilesCut.h"
#include "resolve/FrameSet.h"
#include "resolve/LogParser.h"
#include "resolve/MaxLog.h"
#include "resolve/TerragenGi.h"
#include <cstdlib>
#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>

namespace
{
void check(bool good)
{
    if (!good)
        std::abort();
}

void result(const QByteArray &bytes)
{
    const FilesCut cut = FilesCut::from(bytes);
    const QJsonDocument whole = QJsonDocument::fromJson(bytes);
    // One key that stands twice is read from its first place here and from its last there: both are a scene's own
    // fault.
    if (!cut.good || whole.isNull() || bytes.count("\"files\"") != 1 || bytes.count("\"content\"") != 1 ||
        bytes.contains('\\'))
        return;
    const QJsonArray files =
        whole.object().value(QLatin1String("content")).toObject().value(QLatin1String("files")).toArray();
    check(QJsonDocument::fromJson('[' + cut.list.toUtf8() + ']').array() == files);
    check(!QJsonDocument::fromJson(cut.rest).isNull());
}

void edit(const QByteArray &bytes)
{
    QByteArray once = bytes;
    const QList<TerragenGi::Choice> choices{{QStringLiteral("r"), 1, QStringLiteral("c/a.gic")}};
    if (!TerragenGi::edit(&once, choices))
        return;
    QByteArray twice = once;
    check(TerragenGi::edit(&twice, choices) && twice == once);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const bool quiet = (qputenv("QT_LOGGING_RULES", "*=false"), true);
    if (!quiet || size < 1)
        return 0;
    QByteArray bytes(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    switch (data[0] % 5) {
    case 0:
        result(bytes);
        break;
    case 1:
        LogParser::parseJson(bytes, 5, QStringLiteral("/s.c4d"), QStringLiteral("redshift"));
        break;
    case 2:
        check(MaxLog::parse(LogParser::decode(bytes)).status <= 2);
        break;
    case 3:
        edit(bytes);
        break;
    default: {
        const QString text = QString::fromUtf8(bytes);
        check(FrameSet::expand(text) == FrameSet::expand(FrameSet::rewrite(text)));
        QBuffer device(&bytes);
        device.open(QIODevice::ReadOnly);
        ClarisseDeep::scan(&device);
    }
    }
    return 0;
}
