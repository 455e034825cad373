#include "resolve/FrameSet.h"
#include <algorithm>
#include <iterator>
#include <vector>

namespace
{
constexpr int MaxDigits = 6;

// One whole number of up to 6 digits, without a sign.
bool number(const QStringRef &text, int *value)
{
    if (text.isEmpty() || text.size() > MaxDigits)
        return false;
    int sum = 0;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
        sum = sum * 10 + c.unicode() - '0';
    }
    *value = sum;
    return true;
}

int clamp(int frame) { return std::clamp(frame, FrameSet::Lowest, FrameSet::Highest); }

// Text behind ":"; more digits than fit are above the highest step all the same.
bool step(const QStringRef &text, int *value)
{
    const bool digits =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); });
    const bool negative = text.size() > 1 && text.at(0) == QLatin1Char('-');
    int parsed = 0;
    if (negative)
        return *value = 1, number(text.mid(1), &parsed);
    if (!digits)
        return false;
    *value = number(text, &parsed) && parsed > 0 && parsed <= FrameSet::HighestStep ? parsed : 1;
    return true;
}

bool hasLetter(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
    });
}

QStringList pieces(const QString &text)
{
    return FrameSet::normalise(text).split(QLatin1Char(','), Qt::SkipEmptyParts);
}

// Every frame of the texts is marked; false as soon as one of them can't be used.
bool mark(const QString &text, std::vector<char> *marks)
{
    QList<FrameSet::Term> terms;
    if (!FrameSet::parse(text, &terms))
        return false;
    if (!std::all_of(terms.begin(), terms.end(), [](const FrameSet::Term &term) { return term.ordered(); }))
        return false;
    for (const FrameSet::Term &term : terms) {
        const auto from = marks->begin() + (term.first - FrameSet::Lowest);
        if (term.step == 1) {
            std::fill(from, from + term.length(), 1);
            continue;
        }
        for (int frame = term.first; frame <= term.last; frame += term.step)
            (*marks)[std::size_t(frame - FrameSet::Lowest)] = 1;
    }
    return true;
}

QVector<int> marked(const std::vector<char> &marks)
{
    QVector<int> frames;
    frames.reserve(int(std::count(marks.begin(), marks.end(), 1)));
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (marks[i])
            frames.append(int(i) + FrameSet::Lowest);
    }
    return frames;
}

std::vector<char> blank() { return std::vector<char>(std::size_t(FrameSet::Highest - FrameSet::Lowest + 1), 0); }
} // namespace

QString FrameSet::Term::text() const
{
    if (!range)
        return QString::number(first);
    const QString plain = QStringLiteral("%1-%2").arg(first).arg(last);
    return stepped ? plain + QLatin1Char(':') + QString::number(step) : plain;
}

QString FrameSet::normalise(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        const bool comma = c == QLatin1Char(',') || c.unicode() == 0xff0c;
        if (comma && result.endsWith(QLatin1Char(',')))
            continue;
        if (comma)
            result.append(QLatin1Char(','));
        else if (!c.isSpace())
            result.append(c);
    }
    return result;
}

bool FrameSet::parseTerm(const QString &text, Term *term)
{
    Term result;
    const int colon = text.indexOf(QLatin1Char(':'));
    const QStringRef frames = colon < 0 ? QStringRef(&text) : text.leftRef(colon);
    if (colon >= 0 && !step(text.midRef(colon + 1), &result.step))
        return false;
    // A leading minus shows as an empty part: "a-b", "-a-b", "-a--b", and the singles "a", "-a".
    const QVector<QStringRef> parts = frames.split(QLatin1Char('-'));
    int first = 0, last = 0;
    bool good = false;
    if (parts.size() == 1) {
        good = number(parts[0], &first);
    } else if (parts.size() == 2 && parts[0].isEmpty()) {
        good = number(parts[1], &first);
        first = -first;
    } else if (parts.size() == 2) {
        result.range = good = number(parts[0], &first) && number(parts[1], &last);
    } else if (parts.size() == 3 && parts[0].isEmpty()) {
        result.range = good = number(parts[1], &first) && number(parts[2], &last);
        first = -first;
    } else if (parts.size() == 4 && parts[0].isEmpty() && parts[2].isEmpty()) {
        result.range = good = number(parts[1], &first) && number(parts[3], &last);
        first = -first;
        last = -last;
    }
    if (!good)
        return false;
    result.first = clamp(first);
    result.last = result.range ? clamp(last) : result.first;
    result.stepped = result.range && colon >= 0;
    if (!result.range)
        result.step = 1;
    *term = result;
    return true;
}

bool FrameSet::parse(const QString &text, QList<Term> *terms)
{
    if (text.size() > MaxText)
        return false;
    QList<Term> list;
    for (const QString &piece : pieces(text)) {
        Term term;
        if (!parseTerm(piece, &term))
            return false;
        list.append(term);
    }
    *terms = list;
    return !list.isEmpty();
}

QString FrameSet::rewrite(const QString &text)
{
    QList<Term> terms;
    if (!parse(text, &terms))
        return text;
    QStringList list;
    std::transform(terms.begin(), terms.end(), std::back_inserter(list), [](const Term &term) { return term.text(); });
    return list.join(QLatin1Char(','));
}

QVector<int> FrameSet::expand(const QString &text)
{
    std::vector<char> marks = blank();
    return mark(text, &marks) ? marked(marks) : QVector<int>();
}

QVector<int> FrameSet::expandAll(const QStringList &texts)
{
    std::vector<char> marks = blank();
    for (const QString &text : texts)
        mark(text, &marks);
    return marked(marks);
}

QString FrameSet::keyFrames(const QVector<int> &frames)
{
    const int n = frames.size();
    if (n >= 3)
        return QStringLiteral("%1,%2,%3").arg(frames.first()).arg(frames.at((n + 1) / 2 - 1)).arg(frames.last());
    QStringList all;
    for (int frame : frames)
        all.append(QString::number(frame));
    return all.join(QLatin1Char(','));
}

QString FrameSet::typingPattern()
{
    const QString term = QStringLiteral("-\\d{1,6}|\\d{1,6}|-\\d{1,6}-\\d{1,6}|\\d{1,6}-\\d{1,6}|-\\d{1,6}--\\d{1,6}");
    return QStringLiteral("((%1)(,|\uff0c){1}){0,}(%1)").arg(term);
}

QString FrameSet::stepPattern() { return QStringLiteral("[1-9]|[1-9]\\d{1,5}|"); }

QString FrameSet::checkPaste(const QString &text)
{
    if (hasLetter(text))
        return tr("不支持输入英文，请检查！");
    QString commas = text;
    commas.replace(QChar(0xff0c), QLatin1Char(','));
    const QStringList parts = commas.split(QLatin1Char(','));
    // Judged piece by piece: the pattern as a whole would backtrack over a long text.
    const bool good = text.size() <= MaxText && std::all_of(parts.begin(), parts.end(), [](const QString &part) {
                          Term term;
                          return !part.contains(QLatin1Char(':')) && parseTerm(part, &term);
                      });
    return good ? QString() : tr("输入的字符格式不正确，请检查！");
}

QString FrameSet::checkOrder(const QString &frames)
{
    QList<Term> terms;
    if (!parse(frames, &terms))
        return tr("输入的字符格式不正确，请检查！");
    const bool ordered = std::all_of(terms.begin(), terms.end(), [](const Term &term) { return term.ordered(); });
    return ordered ? QString() : tr("参数设置项的序列帧只支持从小到大排列！");
}

QString FrameSet::checkFrames(const QString &frames)
{
    QList<Term> terms;
    if (pieces(frames).isEmpty())
        return tr("请输入参数设置项的序列帧！");
    if (const QString fault = checkOrder(frames); !fault.isEmpty())
        return fault;
    parse(frames, &terms);
    for (const Term &term : terms) {
        if (term.step > term.length())
            return tr("参数设置项的隔帧不在有效序列帧范围内！");
    }
    return {};
}

QString FrameSet::checkKeyFrames(const QString &keys, const QStringList &frames)
{
    if (pieces(keys).isEmpty())
        return {};
    if (const QString pasted = hasLetter(keys) ? checkPaste(keys) : QString(); !pasted.isEmpty())
        return pasted;
    QList<Term> terms;
    if (!parse(keys, &terms))
        return tr("输入的字符格式不正确，请检查！");
    for (const Term &term : terms) {
        if (!term.ordered())
            return tr("帧序列只支持从小到大排列！");
    }
    const QVector<int> all = expandAll(frames), wanted = expand(keys);
    if (!std::includes(all.begin(), all.end(), wanted.begin(), wanted.end()))
        return tr("优先帧不在序列帧范围内！");
    return {};
}

// A step too high counts as 1 in a text; who types one is told instead.
QString FrameSet::checkStep(const QString &frames, const QString &step)
{
    QList<Term> terms;
    if (step.isEmpty() || !stepEnabled(frames) || !parse(frames, &terms))
        return {};
    bool good = false;
    const int typed = step.toInt(&good);
    if (!good || typed <= 0)
        return tr("输入的字符格式不正确，请检查！");
    return typed > terms.first().length() ? tr("参数设置项的隔帧不在有效序列帧范围内！") : QString();
}

void FrameSet::split(const QString &text, QString *frames, QString *step)
{
    QList<Term> terms;
    *frames = text;
    step->clear();
    if (!parse(text, &terms) || terms.size() != 1 || !terms.first().range)
        return;
    *step = terms.first().stepped ? QString::number(terms.first().step) : QString();
    terms.first().stepped = false;
    *frames = terms.first().text();
}

QString FrameSet::join(const QString &frames, const QString &step)
{
    QList<Term> terms;
    if (step.isEmpty() || !stepEnabled(frames) || !parse(frames, &terms))
        return frames;
    terms.first().stepped = false;
    return terms.first().text() + QLatin1Char(':') + step;
}

bool FrameSet::stepEnabled(const QString &frames)
{
    QList<Term> terms;
    return parse(frames, &terms) && terms.size() == 1 && terms.first().range;
}
