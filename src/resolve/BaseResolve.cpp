#include "resolve/BaseResolve.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Rset.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/ResolveDAO.h"
#include "resolve/C4DResolve.h"
#include "resolve/ClarisseResolve.h"
#include "resolve/ClarisseXml.h"
#include "resolve/HoudiniResolve.h"
#include "resolve/LogParser.h"
#include "resolve/MaxResolve.h"
#include "resolve/MayaResolve.h"
#include "resolve/TerragenResolve.h"
#include <atomic>
#include <limits>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

namespace
{
const QString TempTail = QStringLiteral("_vdtemp");

constexpr qint64 LogCeiling = 2LL * 1024 * 1024 * 1024; // of a child's output; what comes behind it is dropped
constexpr int NoiseCeiling = 1024 * 1024;               // of error output in the application's log
constexpr int MaxNameBytes = 255;                       // of a file name on common disks

int stateOf(int status)
{
    using namespace SceneState;
    return status == 0 ? Clean : status == 1 ? Warned : status == 2 ? Failed : Incomplete;
}

// The name of a log within what a disk takes: a long scene name loses its beginning.
QString fitting(const QString &prefix, const QString &scene, const QString &tail)
{
    QString name = scene;
    const int room = MaxNameBytes - 16 - prefix.toUtf8().size() - tail.toUtf8().size(); // 16: room for an ending
    while (!name.isEmpty() && name.toUtf8().size() > room)
        name.remove(0, 1);
    return prefix + name + tail;
}

QJsonObject parsed(const QString &json) { return QJsonDocument::fromJson(json.toUtf8()).object(); }

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}
} // namespace

void AnalysisProcess::setupChildProcess() { platform::ownTree(); }

BaseResolve::BaseResolve() : fastMaya(UserInfo::fastMaya() ? 1 : 0), m_process(new AnalysisProcess(this)) {}

BaseResolve::~BaseResolve()
{
    m_process->disconnect(this);
    endTree();
}

QString BaseResolve::oldLog(const QString &folder, const QString &scenePath)
{
    // "resolve-<rkey>-<order>-<scene>_vdtemp.txt"; a scene "b-a.ma" must not be taken for "a.ma", nor "aa.ma".
    const QString scene = QFileInfo(scenePath).fileName();
    static const QRegularExpression head(QStringLiteral("^resolve-\\d+-[^-]*-"));
    for (const QFileInfo &info :
         QDir(folder).entryInfoList({QStringLiteral("resolve-*.txt")}, QDir::Files, QDir::Time)) {
        const QRegularExpressionMatch match = head.match(info.fileName());
        if (match.hasMatch() && info.fileName() == fitting(match.captured(), scene, TempTail + QLatin1String(".txt")))
            return info.filePath();
    }
    return {};
}

BaseResolve *BaseResolve::create(int softwareType)
{
    switch (softwareType) {
    case SoftwareType::Maya:
        return new MayaResolve;
    case SoftwareType::Max:
        return new MaxResolve;
    case SoftwareType::Houdini:
        return new HoudiniResolve;
    case SoftwareType::Cinema4D:
        return new C4DResolve;
    case SoftwareType::Clarisse:
        return new ClarisseResolve;
    case SoftwareType::Terragen:
        return new TerragenResolve;
    default:
        return nullptr;
    }
}

QJsonObject BaseResolve::parseLog(const QString &logPath, int softwareType)
{
    const ParsedLog log = LogParser::read(logPath, softwareType);
    if (!log.found || log.error != 0)
        return {};
    QJsonObject content = log.content;
    const QJsonObject files = parsed(QLatin1Char('{') + log.files + QLatin1Char('}'));
    content.insert(QStringLiteral("files"), files.value(QLatin1String("files")).toArray());
    return {{QStringLiteral("status"), log.status},
            {QStringLiteral("content"), content},
            {QStringLiteral("details"), log.details}};
}

void BaseResolve::setUp(const db_resolve &record, const QString &softwareText, int type, int onGpu,
                        const QString &logPath)
{
    m_record = record;
    softwareType = type;
    gpu = onGpu;
    sceneFile = VFunc::followLinks(record.lpath);
    software = softwareText;
    if (software.isEmpty())
        software = Rset(record.rset).software();
    software = software.toLower();
    if (UserInfo::resolveOs() == QLatin1String("linux"))
        software.remove(QLatin1String(" linux"));
    logFile = logPath;
    if (logPath.endsWith(QLatin1String(".txt")))
        return;
    const QFileInfo info(logPath);
    logFile =
        info.path() + QLatin1Char('/') +
        fitting(info.fileName() + QLatin1Char('-'), QFileInfo(sceneFile).fileName(), TempTail + QLatin1String(".txt"));
    QFile::remove(logFile);
}

void BaseResolve::resolve() {}

void BaseResolve::startTimer(int seconds)
{
    if (seconds <= 0)
        return;
    const qint64 ms = qMin<qint64>(qint64(seconds) * 1000, std::numeric_limits<int>::max());
    // Queued, so that the timer belongs to whichever thread the object is on by then.
    QMetaObject::invokeMethod(
        this,
        [this, ms] {
            auto *timer = new QTimer(this);
            timer->setSingleShot(true);
            connect(timer, &QTimer::timeout, this, &BaseResolve::resolveTimeOut);
            timer->start(int(ms));
        },
        Qt::QueuedConnection);
}

db_resolve BaseResolve::record() const
{
    QMutexLocker lock(&m_mutex);
    return m_record;
}

void BaseResolve::setError(int number)
{
    m_err = number;
    finishResolve();
}

void BaseResolve::onDisk(const std::function<int(const StopToken &)> &work, const std::function<void()> &then)
{
    m_disk.start([this, work, then](const StopToken &stop) -> DiskWork::Result {
        const int error = work(stop);
        return [this, error, then] { error != 0 ? setError(error) : then(); };
    });
}

QString BaseResolve::rsetText(const QString &key) const { return parsed(record().rset).value(key).toString(); }

QString BaseResolve::native(const QString &path) { return QDir::toNativeSeparators(path); }

void BaseResolve::startPro(const QString &program, const QStringList &arguments, const QString &workDir)
{
    if (!workDir.isEmpty())
        m_process->setWorkingDirectory(workDir);
    connect(m_process, &QProcess::readyRead, this, &BaseResolve::readyRead);
    connect(m_process, QOverload<int>::of(&QProcess::finished), this, &BaseResolve::finished);
    connect(m_process, &QProcess::errorOccurred, this, &BaseResolve::error);
    connect(m_process, &QProcess::started, this, &BaseResolve::started);
    connect(m_process, &QProcess::readyReadStandardError, this, &BaseResolve::errorOut);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("__COMPAT_LAYER")); // must not reach the software from an elevated launcher
    environment.insert(QStringLiteral("MachineType"), gpu ? QStringLiteral("startGpu") : QStringLiteral("startCpu"));
    static std::atomic_uint runs{0};
    const QString run = QStringLiteral("%1-%2").arg(QCoreApplication::applicationPid()).arg(++runs);
    m_mark = QStringLiteral("vandrel_run=") + run; // its log's name is that of the next analysis of the scene, too
    environment.insert(QStringLiteral("vandrel_run"), run);
    environment.insert(QStringLiteral("vandrel_filepath"), logFile); // for scripts that write the log by themselves
    environment.insert(QStringLiteral("vandrel_fileload"), native(sceneFile));
    if (softwareType == SoftwareType::Maya)
        environment.insert(QStringLiteral("VandrelMayaCache"),
                           QString::number(UserInfo::mayaCache())); // the quick road has no words
    m_process->setProcessEnvironment(environment);
    m_process->start(program, arguments, QIODevice::ReadOnly);
    m_pid = m_process->processId();
    if (m_pid > 0 && !platform::holdTree(m_pid))
        qWarning().noquote() << "BaseResolve::startPro" << m_pid << "what it starts may outlive it";
    qDebug().noquote() << "BaseResolve::startPro" << m_pid << program << arguments.join(QLatin1Char(' '));
}

void BaseResolve::startBatch(const QString &path)
{
#ifdef Q_OS_WIN
    startPro(path, {});
#else
    startPro(QStringLiteral("/bin/sh"), {path});
#endif
}

void BaseResolve::started() { qDebug().noquote() << "BaseResolve::started" << m_process->processId() << sceneFile; }

void BaseResolve::readyRead() { writeFile(); }

void BaseResolve::writeFile()
{
    if (softwareType == SoftwareType::Max || softwareType == SoftwareType::Cinema4D)
        return stdOut();
    const QByteArray bytes = m_process->readAllStandardOutput();
    if (bytes.isEmpty() || m_err != 0)
        return;
    if (!m_out.isOpen()) {
        m_out.setFileName(logFile);
        m_out.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text);
    }
    if (m_written > LogCeiling)
        return;
    m_written += bytes.size();
    if (m_written > LogCeiling)
        qWarning().noquote() << "BaseResolve::writeFile" << logFile << "holds" << LogCeiling
                             << "bytes, the rest is dropped";
    if (m_out.write(bytes) == bytes.size() && m_out.flush())
        return;
    qWarning().noquote() << "BaseResolve::writeFile" << logFile << m_out.errorString();
    setError(AnalysisError::WriteError);
}

void BaseResolve::stdOut()
{
    static const QByteArray word("Vandrel Kill");
    const QByteArray bytes = m_tail + m_process->readAllStandardOutput();
    m_tail = bytes.right(word.size() - 1);
    // Cinema 4D stays open when its script has ended.
    if (softwareType == SoftwareType::Cinema4D && bytes.contains(word)) {
        qDebug().noquote() << "BaseResolve::stdOut client kill C4D" << m_pid;
        m_tail.clear();
        finishResolve();
    }
}

void BaseResolve::errorOut()
{
    const QByteArray bytes = m_process->readAllStandardError();
    if (m_noise < NoiseCeiling && !bytes.trimmed().isEmpty())
        qDebug().noquote() << "BaseResolve::errorOut" << LogParser::decode(bytes.trimmed());
    m_noise += bytes.size();
}

void BaseResolve::finished(int code)
{
    qDebug().noquote() << "BaseResolve::finished" << m_pid << "code" << code << "status" << m_process->exitStatus();
    writeFile();
    endTree();
    finishResolve();
}

void BaseResolve::error(QProcess::ProcessError err)
{
    qWarning().noquote() << "BaseResolve::error" << err << m_process->program() << m_process->errorString();
    if (err == QProcess::Crashed) { // the software often dies on its way out, its result written
        m_err = 0;
        writeFile();
    } else {
        m_err = AnalysisError::ProcessErrors + int(err);
    }
    finishResolve();
}

void BaseResolve::endTree()
{
    if (m_pid <= 0)
        return;
    if (!VFunc::killTree(m_pid, m_mark))
        qWarning().noquote() << "BaseResolve::endTree" << m_pid << "still has processes";
    m_pid = 0;
}

void BaseResolve::finishLogName()
{
    const QString tail = TempTail + QLatin1String(".txt");
    if (!logFile.endsWith(tail))
        return;
    const QString source = logFile;
    logFile.chop(tail.size());
    logFile += QLatin1String(".txt");
    QFile::remove(logFile); // of an earlier analysis of the same row; it must not be read for this one
    QFile copy(source);
    if (!copy.copy(logFile))
        qWarning().noquote() << "BaseResolve::finishLogName 拷贝解析日志错误 " << copy.error() << source;
}

void BaseResolve::finishResolve()
{
    if (m_done)
        return;
    m_done = true;
    m_out.close();
    finishLogName();
    if (m_err != 0 || softwareType != SoftwareType::Clarisse)
        return conclude();
    m_disk.start([this, log = logFile, scene = sceneFile](const StopToken &stop) -> DiskWork::Result {
        const bool good = ClarisseXml::convert(log, scene, stop);
        return [this, good] {
            m_err = good ? 0 : AnalysisError::BadResult;
            conclude();
        };
    });
}

void BaseResolve::conclude()
{
    if (m_err == 0) {
        const db_resolve res = record();
        const Rset rset(res.rset);
        const QString chosen = QString::fromUtf8(QJsonDocument(rset.plugins()).toJson(QJsonDocument::Compact));
        take(LogParser::read(logFile, softwareType, UserInfo::isSlave() ? QString() : res.lpath, chosen));
    }
    db_resolve res = record();
    if (m_err != 0) {
        res.error = m_err;
        res.state = SceneState::Failed;
    }
    if (res.state == SceneState::Analysing)
        res.state = SceneState::Clean;
    {
        QMutexLocker lock(&m_mutex);
        m_record = res;
    }
    emit resolveFinished(res);
}

void BaseResolve::take(const ParsedLog &log)
{
    m_err = log.error;
    if (!log.found || log.error != 0)
        return;
    db_resolve res = record();
    res.state = stateOf(log.status);
    if (res.state != SceneState::Clean) {
        res.errstr = log.details;
        ResolveDAO::instance()->saveMessage(res.rkey, res.errstr);
    }
    if (res.state != SceneState::Failed) {
        QJsonObject result = log.content;
        const bool empty = result.isEmpty();
        result.insert(QStringLiteral("resStatus"), log.status);
        if (softwareType == SoftwareType::Maya && fastMaya)
            result.insert(QStringLiteral("parseSubmit"), 1);
        res.rdata = compact(result);
        if (!empty) {
            res.rfile = log.files;
            if (!ResolveDAO::instance()->savePara(res)) {
                qWarning().noquote() << "BaseResolve::take" << res.rkey << "result not saved";
                m_err = AnalysisError::WriteError;
            }
            res.rfile.clear();
        }
    }
    QMutexLocker lock(&m_mutex);
    m_record = res;
}
