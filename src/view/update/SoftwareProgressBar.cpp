#include "view/update/SoftwareProgressBar.h"
#include "common/platform/Platform.h"
#include "common/ui/Background.h"
#include "package/FileInstall.h"
#include "view/update/SoftwareUpdateManager.h"
#include <QCoreApplication>
#include <QDate>
#include <QDebug>
#include <QFile>
#include <QJsonDocument>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>

namespace
{
constexpr int SilentMs = 3 * 60 * 1000;  // without a word of the child
constexpr int ActionMs = 10 * 60 * 1000; // of one command
constexpr int RestMs = 400;              // after the last version
constexpr int Thousand = 1000;           // steps of the bar for one version
} // namespace

SoftwareProgressBar::SoftwareProgressBar(SoftwareUpdateManager *manager, const QList<SoftwareOffer> &list,
                                         QWidget *parent)
    : DialogFrame(QStringLiteral("softwareProgress"), tr("软件更新"), parent), m_manager(manager), m_left(list),
      m_all(list.size()), m_text(new QLabel(tr("正在更新"), this)), m_detail(new QLabel(this)),
      m_bar(new QProgressBar(this))
{
    constexpr int Width = 420;
    setWanted({Width, 0});
    m_text->setObjectName(QStringLiteral("updateText"));
    m_detail->setObjectName(QStringLiteral("quiet"));
    m_detail->setTextFormat(Qt::PlainText);
    m_detail->setWordWrap(true);
    m_bar->setRange(0, m_all * Thousand);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(tr("正在更新"));
    content()->addWidget(m_text);
    content()->addWidget(m_bar);
    content()->addWidget(m_detail);
    content()->addStretch(1);
    m_cancel = addButton(tr("取消"), Plain, [this] { on_cancelBtn_clicked(); });
    m_cancel->setObjectName(QStringLiteral("cancelBtn"));
    m_update = addButton(tr("重试"), Primary, [this] { on_updateBtn_clicked(); });
    m_update->setObjectName(QStringLiteral("updateBtn"));
    for (QTimer *timer : {&m_tick, &m_silent, &m_limit})
        timer->setSingleShot(true);
    connect(&m_tick, &QTimer::timeout, this, &SoftwareProgressBar::time_out);
    connect(&m_silent, &QTimer::timeout, &m_child, &QProcess::kill);
    connect(&m_limit, &QTimer::timeout, &m_action, &QProcess::kill);
    m_child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(&m_child, &QProcess::readyReadStandardOutput, this, &SoftwareProgressBar::readChild);
    connect(&m_child, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &SoftwareProgressBar::childOver);
    connect(&m_child, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(m_child.errorString());
    });
    const auto done = [this] {
        m_limit.stop();
        nextAction();
    };
    m_action.setProcessChannelMode(QProcess::ForwardedChannels);
    connect(&m_action, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, done);
    connect(&m_action, &QProcess::errorOccurred, this, [this, done](QProcess::ProcessError error) {
        qWarning() << "SoftwareProgressBar error =" << error << m_action.program();
        if (error == QProcess::FailedToStart)
            done();
    });
    stand(Fetching);
}

SoftwareProgressBar::~SoftwareProgressBar()
{
    for (QProcess *process : {&m_child, &m_action}) {
        process->disconnect(this);
        if (process->state() == QProcess::NotRunning)
            continue;
        process->kill();
        process->waitForFinished(1000);
    }
}

void SoftwareProgressBar::begin() { m_tick.start(0); }

void SoftwareProgressBar::stand(Stage stage)
{
    m_stage = stage;
    m_cancel->setVisible(stage != Over);
    m_cancel->setEnabled(stage != Installing);
    m_update->setVisible(stage == Failed || stage == Over);
    if (stage == Over)
        m_update->setText(m_restart ? tr("重启客户端") : tr("完成"));
    if (stage != Failed)
        setError({});
    // Once the error and the buttons have told what they need.
    QTimer::singleShot(0, this, [this] { resize(size().expandedTo(sizeHint()).boundedTo(screen()->availableSize())); });
}

// The next version, once nothing of the one before is under way.
void SoftwareProgressBar::time_out()
{
    if (m_left.isEmpty()) {
        over();
        return;
    }
    stand(Fetching);
    m_detail->setText(tr("正在获取 %1").arg(name()));
    m_read.clear();
    m_file.clear();
    m_why.clear();
    QStringList words = m_manager->words();
    words << QStringLiteral("fetch") << m_left.first().softwareId << m_left.first().version;
    m_silent.start(SilentMs);
    m_child.start(m_manager->program(), words);
}

void SoftwareProgressBar::readChild()
{
    m_read += m_child.readAllStandardOutput();
    m_silent.start(SilentMs);
    if (m_read.size() > SoftwareUpdateManager::MostAnswer) {
        m_read.clear();
        m_child.kill();
    }
    for (int end = m_read.indexOf('\n'); end >= 0; end = m_read.indexOf('\n')) {
        const QJsonObject line = QJsonDocument::fromJson(m_read.left(end)).object();
        m_read.remove(0, end + 1);
        const double size = line.value(QLatin1String("size")).toDouble();
        if (size > 0)
            m_bar->setValue((m_all - m_left.size()) * Thousand +
                            int(qBound(0.0, line.value(QLatin1String("got")).toDouble() / size, 1.0) * Thousand));
        m_file = line.value(QLatin1String("file")).toString(m_file);
        m_why = line.value(QLatin1String("msg")).toString(m_why);
    }
}

void SoftwareProgressBar::childOver()
{
    readChild();
    m_silent.stop();
    if (m_leave) {
        close();
        return;
    }
    if (m_file.isEmpty()) {
        fail(m_why.isEmpty() ? tr("更新程序没有回答") : m_why);
        return;
    }
    stand(Installing);
    m_detail->setText(tr("正在安装 %1").arg(name()));
    const SoftwareUpdateManager::Places places = m_manager->places();
    Background::run(
        this,
        [file = m_file, offer = m_left.first(), places, journal = m_manager->journal()] {
            return place(file, offer, places.key, places.programDir, journal, places.folder);
        },
        [this](const Placed &result) { placed(result); });
}

SoftwareProgressBar::Placed SoftwareProgressBar::place(const QString &file, const SoftwareOffer &offer,
                                                       const QByteArray &key, const QString &programDir,
                                                       const QString &journal, const QString &folder)
{
    Placed result;
    Package package(file);
    result.state = SoftwareState::read(folder);
    if (!package.open(key)) {
        result.why = package.why();
    } else {
        const Manifest &manifest = package.manifest();
        const QString system = platform::isWindows() ? QStringLiteral("windows") : QStringLiteral("linux");
        QString have = result.state.current.value(offer.softwareId).version;
        if (Manifest::compareVersions(have, have) != 0)
            have.clear();
        if (manifest.softwareId != offer.softwareId || manifest.version != offer.version)
            result.why = QStringLiteral("the package holds something else");
        else if (manifest.fits(QStringLiteral("software"), system, have, QDateTime::currentDateTimeUtc(),
                               &result.why)) {
            FileInstall files(programDir, journal);
            result.good = files.install(&package);
            result.why = files.why();
            result.actions = manifest.actions;
        }
    }
    QFile::remove(file);
    if (result.good) {
        result.state.installed(offer, QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd")));
        if (!result.state.write(folder))
            qWarning().noquote() << "SoftwareProgressBar::place: can't write" << SoftwareState::file(folder);
    }
    return result;
}

void SoftwareProgressBar::placed(const Placed &result)
{
    if (!result.good) {
        fail(result.why);
        return;
    }
    m_manager->setState(result.state);
    m_actions = result.actions;
    nextAction();
}

// What the signed manifest tells; a command that fails is logged and the rest goes on.
void SoftwareProgressBar::nextAction()
{
    while (!m_actions.isEmpty()) {
        const QJsonValue action = m_actions.takeAt(0);
        const QString word = action.toString();
        if (word == QLatin1String("restart app") || word == QLatin1String("restart self")) {
            m_restart = true;
            continue;
        }
        QStringList words = QProcess::splitCommand(action.toObject().value(QLatin1String("cmd")).toString());
        if (words.isEmpty())
            continue;
        m_action.setWorkingDirectory(m_manager->places().programDir);
        const QString program = words.takeFirst();
        m_limit.start(ActionMs);
        m_action.start(program, words);
        return;
    }
    m_left.removeFirst();
    m_bar->setValue((m_all - m_left.size()) * Thousand);
    m_tick.start(m_left.isEmpty() ? RestMs : 0);
}

void SoftwareProgressBar::over()
{
    m_text->setText(m_restart ? tr("更新完成,重启客户端") : tr("更新完成"));
    m_detail->clear();
    stand(Over);
    m_update->setFocus();
    emit updatesuccess();
}

void SoftwareProgressBar::fail(const QString &why)
{
    m_silent.stop();
    qWarning().noquote() << "SoftwareProgressBar::fail" << name() << why;
    stand(Failed);
    m_detail->clear();
    setError(tr("%1 没有安装：%2").arg(name(), why));
}

void SoftwareProgressBar::on_cancelBtn_clicked()
{
    if (m_stage == Installing)
        return;
    m_leave = true;
    if (m_child.state() == QProcess::NotRunning)
        close();
    else
        m_child.kill(); // its end closes
}

void SoftwareProgressBar::on_updateBtn_clicked()
{
    if (m_stage == Failed) {
        begin();
        return;
    }
    if (m_stage != Over)
        return;
    const bool again = m_restart;
    close();
    if (again)
        QCoreApplication::exit(RestartCode);
}

void SoftwareProgressBar::on_headClose_clicked()
{
    if (m_stage == Over)
        close();
    else
        on_cancelBtn_clicked();
}
