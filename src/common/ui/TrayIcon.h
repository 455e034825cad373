#pragma once
// The icon at the system tray with its two menus, logged in and logged out. Singleton on the main thread. Where no tray
// is there (or not yet: it's looked for again for a minute) the program works without it: notes become toasts in the
// current window, closing minimises, and the same commands stand in the windows' own menus.
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>

class QMenu;

class TrayIcon : public QObject
{
    Q_OBJECT
public:
    static TrayIcon *instance();
    static void destroy();
    static bool available(); // a tray is there and the icon stands in it

    void setOnline(bool on); // icon, tool tip and menu
    bool online() const { return m_online; }
    void setCurWid(QWidget *window); // the one that comes forward
    QWidget *curWid() const { return m_window; }
    void showInfoMsg(const QString &title, const QString &text, int msecs);
    void showInfoMsg(const QString &title, const QString &text);

public slots:
    void showCurWid();

signals:
    void changeUser(); // menu "切换账号"
    void leave();      // menu "退出"

private slots:
    void timeout();
    void applicationStateChanged(Qt::ApplicationState state);

private:
    TrayIcon();
    ~TrayIcon() override;
    void showIcon();

    QSystemTrayIcon m_icon;
    QPointer<QWidget> m_window;
    QMenu *m_in = nullptr, *m_out = nullptr;
    QTimer m_timer; // looks for a tray; later blinks the icon while a note waits to be seen
    int m_ticks = 0;
    bool m_online = false, m_shown = false;
};
