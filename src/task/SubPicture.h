#pragma once
// One picture of a sub-task, before its frame is on disk: asked for, and put into a file of the temp folder. Three ways
// (Mode): a link in the answer that is fetched as a JPEG, the picture itself in the answer, or one of several by its
// index. Made on any thread; once started it works on a thread of the pool, tells exactly one of arrived() and
// failed(), and deletes itself. By a link, a farm that has no picture yet is asked again until LimitMs.
#include <QJsonValue>
#include <QObject>

class SubPicture : public QObject
{
    Q_OBJECT
public:
    enum Mode { Link = 0, Stream = 1, Index = 3 };
    static constexpr int LimitMs = 30000, AgainMs = 3000;
    static constexpr qint64 MostBytes = qint64(256) << 20;
    // 3 where the server has pictures by index, else 0 for 3ds Max and 1 for the others.
    static Mode modeOf(int software, int pictures);

    struct Of {
        QString task, sub;
        QJsonValue version;
        int index = 0;
        Mode mode = Stream;
    };
    explicit SubPicture(const Of &of);
    void start(); // once it's connected; from then on it belongs to the pool

signals:
    void progress(qint64 got, qint64 all); // -1 of -1 before the first report
    void waiting(QString why);             // there is none yet, it will be asked for again
    void arrived(QString file);
    void failed(QString why);

private:
    void ask();
    void hearStreams();
    void take(int val, const QJsonObject &answer, const QByteArray &body);
    void fetchLink(const QString &url);
    void keep(const QByteArray &picture);
    void again(const QString &why);
    void end(const QString &file, const QString &why);
    QString name() const;

    Of m_of;
    bool m_over = false, m_asked = false;
};
