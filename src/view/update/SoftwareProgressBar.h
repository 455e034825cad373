#pragma once
// The window of a running update: one version after the other is fetched by the child, checked, brought into place file
// by file, written down, and what its signed manifest tells to do is done. What was installed before a failure stays.
// Can be left while something is fetched, not while files go into their places. Deletes itself when closed. Main
// thread; files are touched elsewhere.
//
//   begin --time_out--> fetching --file--> installing --actions--> time_out ... --none left--> over
//   fetching or installing --failed--> told, "重试" begins the same version again
#include "common/ui/kit/DialogFrame.h"
#include "package/Feed.h"
#include "view/update/SoftwareState.h"
#include <QJsonArray>
#include <QProcess>
#include <QTimer>

class QProgressBar;
class SoftwareUpdateManager;

class SoftwareProgressBar : public DialogFrame
{
    Q_OBJECT
public:
    SoftwareProgressBar(SoftwareUpdateManager *manager, const QList<SoftwareOffer> &list, QWidget *parent);
    ~SoftwareProgressBar() override;
    void begin();
    static constexpr int RestartCode = 773; // of the event loop: the client starts again

    // What bringing a fetched package into place came to.
    struct Placed {
        bool good = false;
        QString why;
        QJsonArray actions;
        SoftwareState state;
    };
    // Blocks. state: as known; written to the folder's file before anything of actions is done.
    static Placed place(const QString &package, const SoftwareOffer &offer, const QByteArray &key,
                        const QString &programDir, const QString &journal, const QString &folder);

signals:
    void updatesuccess();

public slots:
    void on_cancelBtn_clicked();
    void on_updateBtn_clicked();
    void time_out();
    void on_headClose_clicked() override;

private:
    enum Stage { Fetching, Installing, Failed, Over };
    void readChild();
    void childOver();
    void placed(const Placed &result);
    void nextAction();
    void over();
    void fail(const QString &why);
    void stand(Stage stage);
    QString name() const { return m_left.value(0).name + QLatin1Char(' ') + m_left.value(0).version; }

    SoftwareUpdateManager *m_manager;
    QList<SoftwareOffer> m_left;
    int m_all;
    Stage m_stage = Fetching;
    bool m_restart = false, m_leave = false;
    QProcess m_child, m_action;
    QByteArray m_read;
    QString m_file, m_why;
    QJsonArray m_actions;
    QTimer m_tick, m_silent, m_limit;
    QLabel *m_text, *m_detail;
    QProgressBar *m_bar;
    QPushButton *m_cancel, *m_update;
};
