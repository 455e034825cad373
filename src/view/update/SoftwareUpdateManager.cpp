#include "view/update/SoftwareUpdateManager.h"
#include "common/platform/Platform.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "package/FileInstall.h"
#include "view/update/CVersionManager.h"
#include "view/update/SoftwareProgressBar.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QJsonDocument>

namespace
{
constexpr int ShowMs = 2000;          // until the main window is there to be shown over
constexpr int MostTimer = 0x7fffffff; // a longer time than any timer takes is asked for again
} // namespace

SoftwareUpdateManager::SoftwareUpdateManager(Places places, QObject *parent)
    : QObject(parent), m_places(std::move(places)), m_over([] { return nullptr; })
{
    connect(&m_child, &QProcess::readyReadStandardOutput, this, &SoftwareUpdateManager::readFromClient);
    connect(&m_child, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &SoftwareUpdateManager::processFinished);
    connect(&m_child, &QProcess::errorOccurred, this, &SoftwareUpdateManager::processError);
    m_child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, &m_child, &QProcess::kill);
    m_show.setSingleShot(true);
    connect(&m_show, &QTimer::timeout, this, &SoftwareUpdateManager::show);
}

SoftwareUpdateManager::~SoftwareUpdateManager()
{
    m_child.disconnect(this);
    if (m_child.state() == QProcess::NotRunning)
        return;
    m_child.kill();
    m_child.waitForFinished(1000);
}

// One journal a program folder: what was begun in a folder that is gone has nothing to do with this one.
QString SoftwareUpdateManager::journal() const
{
    const QByteArray hash = QCryptographicHash::hash(m_places.programDir.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("%1/files-%2.json").arg(m_places.folder, QString::fromLatin1(hash.left(12)));
}

QString SoftwareUpdateManager::program() const
{
    return m_places.programDir +
           (platform::isWindows() ? QStringLiteral("/software_upgrade.exe") : QStringLiteral("/software_upgrade"));
}

QStringList SoftwareUpdateManager::words() const
{
    QStringList words{platform::isWindows() ? QStringLiteral("windows") : QStringLiteral("linux"),
                      QStringLiteral(VN_VERSION), m_places.folder, m_mode};
    if (!m_host.isEmpty() && m_port > 0)
        words << QStringLiteral("-proxy") << m_host << QString::number(m_port);
    return words;
}

void SoftwareUpdateManager::start(const QString &mode)
{
    if (m_places.key.isEmpty()) { // nothing could be believed
        qDebug() << "SoftwareUpdateManager::start: no key of a publisher, no software updates";
        return;
    }
    m_mode = mode;
    const QString folder = m_places.folder, program = m_places.programDir, log = journal();
    Background::run(
        this,
        [folder, program, log] {
            QDir().mkpath(folder);
            FileInstall files(program, log);
            if (!files.recover())
                qWarning().noquote() << "SoftwareUpdateManager::start" << files.why();
            return SoftwareState::read(folder);
        },
        [this](const SoftwareState &state) {
            m_state = state;
            look();
        });
}

void SoftwareUpdateManager::look()
{
    m_read.clear();
    m_why = tr("更新程序没有回答"); // until it has
    m_limit.start(AnswerMs);
    m_child.start(program(), words());
}

void SoftwareUpdateManager::readFromClient()
{
    m_read += m_child.readAllStandardOutput();
    if (m_read.size() > MostAnswer) {
        qWarning() << "SoftwareUpdateManager::readFromClient: an answer without end";
        m_read.clear();
        m_child.kill();
        return;
    }
    for (int end = m_read.indexOf('\n'); end >= 0; end = m_read.indexOf('\n')) {
        const QByteArray line = m_read.left(end);
        m_read.remove(0, end + 1);
        const QJsonObject answer = QJsonDocument::fromJson(line).object();
        if (answer.contains(QLatin1String("success")))
            take(answer);
        else if (!line.trimmed().isEmpty())
            qWarning().noquote() << "SoftwareUpdateManager::readFromClient: no answer" << line.left(200);
    }
}

void SoftwareUpdateManager::take(const QJsonObject &answer)
{
    if (!answer.value(QLatin1String("success")).toBool()) {
        m_why = answer.value(QLatin1String("msg")).toString();
        qWarning().noquote() << "SoftwareUpdateManager::take" << m_why;
        return;
    }
    m_why.clear();
    QList<SoftwareOffer> fresh;
    for (const QJsonValue &value : answer.value(QLatin1String("versions")).toArray()) {
        const SoftwareOffer offer = SoftwareOffer::fromJson(value.toObject());
        if (offer.good())
            fresh.append(offer);
    }
    m_state.offer(fresh, answer.value(QLatin1String("isAll")).toInt() == 1, QDateTime::currentMSecsSinceEpoch());
    Background::post([state = m_state, folder = m_places.folder] {
        if (!state.write(folder))
            qWarning().noquote() << "SoftwareUpdateManager::take: can't write" << SoftwareState::file(folder);
    });
    if (m_state.updates().isEmpty())
        return;
    emit offered();
    if (!m_asked)
        show();
}

void SoftwareUpdateManager::ask()
{
    m_asked = true;
    if (m_places.key.isEmpty()) {
        m_why = tr("此版本没有发布者的密钥，不能更新");
        answerAsked();
    } else if (m_child.state() == QProcess::NotRunning) {
        look();
    }
}

void SoftwareUpdateManager::answerAsked()
{
    QWidget *over = m_over();
    if (!std::exchange(m_asked, false) || !over)
        return;
    if (!m_why.isEmpty())
        MsgTool::msgOk(over, tr("没有取得更新列表：%1").arg(m_why));
    else if (m_state.updates().isEmpty())
        MsgTool::msgOk(over, tr("软件都是最新版本"));
    else
        open(true);
}

void SoftwareUpdateManager::setState(const SoftwareState &state)
{
    m_state = state;
    remind();
}

void SoftwareUpdateManager::show()
{
    if (m_window || m_state.updates().isEmpty())
        return;
    QWidget *over = m_over();
    if (!over || !over->isVisible()) {
        m_show.start(ShowMs);
        return;
    }
    open(false);
}

void SoftwareUpdateManager::open(bool betas)
{
    if (m_window) {
        m_window->activateWindow();
        return;
    }
    QWidget *over = m_over();
    const qint64 at = m_state.forcedAt();
    m_window = new CVersionManager(m_state, at >= 0 && at <= QDateTime::currentMSecsSinceEpoch(), over);
    connect(m_window, &CVersionManager::wanted, this, [this](const QList<SoftwareOffer> &list) {
        auto *bar = new SoftwareProgressBar(this, list, m_over());
        connect(bar, &QObject::destroyed, this, &SoftwareUpdateManager::remind);
        bar->open();
        bar->begin();
    });
    connect(m_window, &CVersionManager::putOff, this, &SoftwareUpdateManager::remind);
    if (betas)
        m_window->offerBetas();
    if (!m_window->offersAnything()) { // betas that nobody has chosen
        delete m_window;
        return;
    }
    m_window->open();
}

// What is forced comes again when its day is over.
void SoftwareUpdateManager::remind()
{
    const qint64 at = m_state.forcedAt();
    if (at >= 0)
        m_show.start(int(qBound<qint64>(ShowMs, at - QDateTime::currentMSecsSinceEpoch(), MostTimer)));
}

void SoftwareUpdateManager::processFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    m_limit.stop();
    readFromClient();
    qDebug() << "SoftwareUpdateManager::processFinished exitStatus =" << exitStatus << "exitCode =" << exitCode;
    answerAsked();
    emit looked();
}

void SoftwareUpdateManager::processError(QProcess::ProcessError error)
{
    qWarning() << "SoftwareUpdateManager::processError error =" << error;
    if (error != QProcess::FailedToStart) // the others are followed by an end
        return;
    m_limit.stop();
    m_why = m_child.errorString();
    answerAsked();
    emit looked();
}
