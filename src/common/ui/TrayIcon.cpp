#include "common/ui/TrayIcon.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include <QGuiApplication>
#include <QMenu>

namespace
{
TrayIcon *only = nullptr;
constexpr int LookAgainMs = 5000, LookAgainTimes = 12;
constexpr int BlinkMs = 500, BlinkTimes = 20;
constexpr int NoteMs = 5000;

QIcon picture(bool online)
{
    return QIcon(QStringLiteral(":/third/%1/%2.ico")
                     .arg(UserInfo::thirdInfo(), online ? QStringLiteral("online") : QStringLiteral("offline")));
}
} // namespace

TrayIcon *TrayIcon::instance()
{
    if (!only)
        only = new TrayIcon;
    return only;
}

void TrayIcon::destroy()
{
    delete only;
    only = nullptr;
}

bool TrayIcon::available() { return only && only->m_shown; }

TrayIcon::TrayIcon()
{
    m_in = new QMenu;
    m_in->addAction(tr("显示主窗口"), this, &TrayIcon::showCurWid);
    m_in->addAction(tr("切换账号"), this, &TrayIcon::changeUser);
    m_in->addSeparator();
    m_in->addAction(tr("退出"), this, &TrayIcon::leave);
    m_out = new QMenu;
    m_out->addAction(tr("显示登录窗口"), this, &TrayIcon::showCurWid);
    m_out->addSeparator();
    m_out->addAction(tr("退出"), this, &TrayIcon::leave);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            showCurWid();
    });
    connect(&m_icon, &QSystemTrayIcon::messageClicked, this, &TrayIcon::showCurWid);
    connect(&m_timer, &QTimer::timeout, this, &TrayIcon::timeout);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &TrayIcon::applicationStateChanged);
    setOnline(false);
    showIcon();
    if (!m_shown)
        m_timer.start(LookAgainMs);
}

TrayIcon::~TrayIcon()
{
    m_icon.hide();
    delete m_in;
    delete m_out;
}

void TrayIcon::showIcon()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_shown = true;
    m_icon.show();
    m_timer.stop();
    m_ticks = 0;
}

void TrayIcon::setOnline(bool on)
{
    m_online = on;
    m_icon.setIcon(picture(on));
    m_icon.setToolTip(on ? tr("%1 已登录").arg(UserInfo::username()) : tr("未登录"));
    m_icon.setContextMenu(on ? m_in : m_out);
}

void TrayIcon::setCurWid(QWidget *window) { m_window = window; }

void TrayIcon::showCurWid()
{
    if (!m_window)
        return;
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void TrayIcon::showInfoMsg(const QString &title, const QString &text) { showInfoMsg(title, text, NoteMs); }

void TrayIcon::showInfoMsg(const QString &title, const QString &text, int msecs)
{
    const QString head = title.isEmpty() ? tr("提示") : title;
    if (!m_shown) {
        MsgTool::toast(m_window, head, text, msecs);
        return;
    }
    m_icon.showMessage(head, text, QSystemTrayIcon::Information, msecs);
    if (qGuiApp->applicationState() != Qt::ApplicationActive) {
        m_ticks = 0;
        m_timer.start(BlinkMs);
    }
}

void TrayIcon::timeout()
{
    ++m_ticks;
    if (!m_shown) {
        showIcon();
        if (m_ticks >= LookAgainTimes)
            m_timer.stop();
        return;
    }
    m_icon.setIcon(picture(m_ticks % 2 ? !m_online : m_online));
    if (m_ticks >= BlinkTimes)
        applicationStateChanged(Qt::ApplicationActive);
}

void TrayIcon::applicationStateChanged(Qt::ApplicationState state)
{
    if (state != Qt::ApplicationActive || !m_shown)
        return;
    m_timer.stop();
    m_icon.setIcon(picture(m_online));
}
