#pragma once
// The link to software_upgrade, the program beside the client that finds and fetches packages of software: starts it,
// reads its answers, keeps what is on offer, shows the window over the main one. A dead or silent child only ends the
// offer. Main thread; files are read and written elsewhere. Lives as long as the client.
//
//   start --files recovered--> looking --answer--> offered() --> CVersionManager --wanted--> SoftwareProgressBar
#include "view/update/SoftwareState.h"
#include <functional>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QTimer>

class CVersionManager;

class SoftwareUpdateManager : public QObject
{
    Q_OBJECT
public:
    struct Places {
        QString programDir; // where software_upgrade is, and where software comes into
        QString folder;     // of versionConfig.ini: "/softwares/1" in the user's data
        QByteArray key;     // whose packages are believed
    };
    explicit SoftwareUpdateManager(Places places, QObject *parent = nullptr);
    ~SoftwareUpdateManager() override;
    void setForward(const QString &host, int port) { m_host = host, m_port = port; } // a subordinate seat's way out
    void setWindow(std::function<QWidget *()> over) { m_over = std::move(over); }    // null: not yet
    void start(const QString &mode);                                                 // the run-mode word
    void show(); // the window, if there is anything to show and a window to show it over
    // By hand: looks anew, then shows all there is, betas too, or says why there is nothing.
    void ask();
    const SoftwareState &state() const { return m_state; }
    const Places &places() const { return m_places; }
    QString program() const;   // the child
    QStringList words() const; // ... and its words
    QString journal() const;
    void setState(const SoftwareState &state); // what an update has written

    static constexpr int AnswerMs = 5 * 60 * 1000; // the child's ceiling for one look
    static constexpr int MostAnswer = 8 * 1024 * 1024;

signals:
    void offered(); // there are updates
    void looked();  // the look is over, whatever it brought

public slots:
    void readFromClient();
    void processFinished(int exitCode, QProcess::ExitStatus exitStatus);
    void processError(QProcess::ProcessError error);

private:
    void look();
    void answerAsked();
    void open(bool betas);
    void take(const QJsonObject &answer);
    void remind();

    Places m_places;
    QString m_mode, m_host, m_why; // why: the last look brought nothing
    bool m_asked = false;
    int m_port = 0;
    std::function<QWidget *()> m_over;
    SoftwareState m_state;
    QProcess m_child;
    QByteArray m_read;
    QTimer m_limit, m_show;
    QPointer<CVersionManager> m_window;
};
