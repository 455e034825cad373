#include "resolve/LogParser.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/SoftwareType.h"
#include "resolve/FilesCut.h"
#include "resolve/MaxLog.h"
#include <QByteArrayMatcher>
#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextCodec>

namespace
{
constexpr int Block = 1024 * 1024;

QString decodeWith(QTextCodec *codec, const QByteArray &bytes, bool *good)
{
    QTextCodec::ConverterState state;
    const QString text = codec ? codec->toUnicode(bytes.constData(), bytes.size(), &state) : QString();
    *good = codec && state.invalidChars == 0 && state.remainingChars == 0;
    return text;
}

QJsonDocument parseDocument(const QByteArray &json)
{
    QJsonParseError problem;
    QJsonDocument document = QJsonDocument::fromJson(json, &problem);
    if (problem.error == QJsonParseError::IllegalUTF8String)
        document = QJsonDocument::fromJson(LogParser::decode(json).toUtf8(), &problem);
    // Software that ends after the script prints behind the result.
    if (problem.error == QJsonParseError::GarbageAtEnd)
        document = QJsonDocument::fromJson(json.left(problem.offset), &problem);
    if (problem.error != QJsonParseError::NoError)
        qWarning().noquote() << "LogParser::parseDocument" << problem.errorString() << "at" << problem.offset << "of"
                             << json.size();
    return document;
}

// One more block behind what is there; false at the end.
bool readMore(QFile *file, QByteArray *window)
{
    const int before = window->size();
    window->resize(before + Block);
    const qint64 got = file->read(window->data() + before, Block);
    window->resize(before + int(qMax<qint64>(0, got)));
    return got > 0;
}

QString single(const QString &path) { return QString(path).replace(QLatin1String("\\\\"), QLatin1String("\\")); }

// The strings of a list as JSON, without its brackets; what isn't a string falls out.
QByteArray strings(const QJsonArray &list)
{
    QJsonArray kept;
    for (const QJsonValue &one : list) {
        if (one.isString())
            kept.append(one);
    }
    const QByteArray text = QJsonDocument(kept).toJson(QJsonDocument::Compact);
    return text.mid(1, text.size() - 2);
}

// The script lists dependencies only, and doesn't know what was chosen for the scene.
void finishC4D(ParsedLog *log, const QString &first, const QString &plugins, QString *files)
{
    const QString scene = single(log->content.value(QLatin1String("sceneName")).toString());
    if (!scene.isEmpty() && scene != first) {
        qDebug().noquote() << "LogParser::finishC4D 塞入c4d主文件" << scene;
        *files +=
            (files->endsWith(QLatin1Char('[')) ? QString() : QStringLiteral(",")) + QString::fromUtf8(strings({scene}));
    }
    const QJsonObject model = log->content.value(QLatin1String("modelParameters")).toObject();
    if (LogParser::rendererDiffers(model.value(QLatin1String("renderer")).toString(), plugins)) {
        log->status = 2;
        log->details = LogParser::rendererMessage();
    }
}
} // namespace

const char LogParser::InfoMark[] = "Vandrel Info:";
const char LogParser::DebugMark[] = "Vandrel Debug:";

QByteArray LogParser::between(const QString &logPath, bool lineStart, bool *found, bool *tooLarge)
{
    *found = *tooLarge = false;
    QFile file(logPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        qWarning().noquote() << "LogParser::between" << logPath << file.errorString();
        return {};
    }
    const QByteArray mark(InfoMark), end(DebugMark);
    const QByteArrayMatcher info(mark), debug(end);
    QByteArray window = lineStart ? QByteArray("\n") : QByteArray(); // so that the first line counts as a line's start
    while (!*found) {
        if (!readMore(&file, &window))
            return {};
        for (int at = info.indexIn(window); at >= 0 && !*found; at = info.indexIn(window, at + 1)) {
            if (!lineStart || (at > 0 && (window.at(at - 1) == '\n' || window.at(at - 1) == '\r'))) {
                window.remove(0, at + mark.size());
                *found = true;
                break;
            }
        }
        if (!*found)
            window = window.right(mark.size()); // a mark that is cut by the block, with the byte before it
    }
    window.reserve(int(qMin<qint64>(MaxResult, window.size() + file.size() - file.pos()) + 1));
    for (int from = 0;;) {
        const int at = debug.indexIn(window, from);
        if (at >= 0) {
            window.truncate(at);
            return window;
        }
        from = qMax(0, window.size() - end.size());
        if (!readMore(&file, &window))
            return window;
        if (window.size() > MaxResult) {
            *tooLarge = true;
            return {};
        }
    }
}

ParsedLog LogParser::read(const QString &logPath, int softwareType, const QString &first, const QString &plugins)
{
    ParsedLog log;
    bool found = false, tooLarge = false;
    const QByteArray text = between(logPath, softwareType != SoftwareType::Max, &found, &tooLarge);
    if (!found)
        return log;
    if (tooLarge) {
        qWarning().noquote() << "LogParser::read" << logPath << "holds a result of more than" << MaxResult << "bytes";
        log.found = true;
        log.error = AnalysisError::BadResult;
        return log;
    }
    log =
        softwareType == SoftwareType::Max ? MaxLog::parse(decode(text)) : parseJson(text, softwareType, first, plugins);
    log.found = true;
    return log;
}

ParsedLog LogParser::parseJson(const QByteArray &json, int softwareType, const QString &first, const QString &plugins)
{
    ParsedLog log;
    log.found = true;
    const QString lead = QStringLiteral("\"files\":[");
    FilesCut cut = FilesCut::from(json, lead, first); // not good where the encoding has to be found out, too
    const QJsonObject result = parseDocument(cut.good ? cut.rest : json).object();
    const QJsonValue status = result.value(QLatin1String("status"));
    log.status = status.toInt(status.toString().toInt());
    if (result.isEmpty() || log.status < 0 || log.status > 3) {
        log.error = AnalysisError::BadResult;
        return log;
    }
    log.details = result.value(QLatin1String("details")).toString();
    log.content = result.value(QLatin1String("content")).toObject();
    QJsonArray files = log.content.take(QLatin1String("files")).toArray();
    if (!cut.good) {
        if (!first.isEmpty() && files.at(0).toString() != first)
            files.prepend(first);
        cut.list = lead + QString::fromUtf8(strings(files));
    }
    if (softwareType == SoftwareType::Cinema4D)
        finishC4D(&log, first, plugins, &cut.list);
    cut.list.append(QLatin1Char(']'));
    log.files = cut.list;
    const QString output = log.content.value(QLatin1String("outPut")).toString();
    if (!output.isEmpty())
        log.content.insert(QStringLiteral("resultMiddleRulePath"), output);
    return log;
}

bool LogParser::write(const QString &logPath, const QJsonObject &result, bool append)
{
    QFile file(logPath);
    const QByteArray text =
        QByteArray("\n") + InfoMark + QJsonDocument(result).toJson(QJsonDocument::Compact) + "\n" + DebugMark + "\n";
    const bool good = file.open(append ? QIODevice::WriteOnly | QIODevice::Append : QIODevice::WriteOnly) &&
                      file.write(text) == text.size() && file.flush();
    if (!good)
        qWarning().noquote() << "LogParser::write" << logPath << file.errorString();
    return good;
}

QString LogParser::decode(const QByteArray &bytes)
{
    bool good = false;
    const QString utf8 = decodeWith(QTextCodec::codecForName("UTF-8"), bytes, &good);
    if (good)
        return utf8;
    const QString local = decodeWith(QTextCodec::codecForLocale(), bytes, &good);
    return good ? local : utf8;
}

QString LogParser::unescape(const QString &text)
{
    static const QRegularExpression escape(QStringLiteral("(\\\\u[0-9a-fA-F]{4})"));
    QString result;
    result.reserve(text.size());
    int at = 0;
    for (auto it = escape.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        result += text.midRef(at, match.capturedStart() - at);
        result += QChar(match.capturedRef().right(4).toUShort(nullptr, 16));
        at = match.capturedEnd();
    }
    return result + text.midRef(at);
}

bool LogParser::rendererDiffers(const QString &renderer, const QString &plugins)
{
    const QString name = renderer.toLower(), chosen = plugins.toLower();
    if (name.isEmpty())
        return false;
    // The capital of Corona never matches the lower-case text; scenes that pass by it have to go on passing.
    static const QRegularExpression known(QStringLiteral("redshift|c4dtoa|octane|vray|Corona"));
    return name.contains(QLatin1String("unknow")) || (known.match(chosen).hasMatch() && !chosen.contains(name));
}

QString LogParser::rendererMessage()
{
    return QCoreApplication::translate("LogParser", "文件内设置的渲染器与所选渲染器不一致，请修改后再提交");
}
