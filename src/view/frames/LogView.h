#pragma once
// The window "日志查看": a log that lies in a file, while it grows. Opens at once and indexes in the background;
// searches with regular expressions, goes from error to error, wraps, copies and saves. Where its owner gives it a
// source, it asks that for more every MoreMs from where it stands, while it can be seen. Deletes itself when closed.
// Main thread.
#include "common/SerialQueue.h"
#include "common/ui/BaseWidget.h"
#include "frames/LogFile.h"
#include <atomic>
#include <functional>
#include <memory>

class LogText;
class QCheckBox;
class QComboBox;
class QLineEdit;

class LogView : public BaseWidget
{
    Q_OBJECT
public:
    static constexpr int MoreMs = 2000;
    // path: where the log lies or will lie; what insertLog() brings goes there too.
    static LogView *open(QWidget *over, const QString &title, const QString &path);
    ~LogView() override;

    void insertLog(const QByteArray &log); // the next piece, kept in the file
    void startAnew();                      // a new render writes it from its front
    // Called with the bytes that are there already, when more is wanted, and by "刷新"; over() ends the asking.
    void setSource(std::function<void(qint64 startPoint)> source);
    void over();
    // For a source that writes the file itself.
    void grown() { scan(); }
    void begunAnew();
    void tell(const QString &words); // below, until there is something else to tell; empty: how long the log is
    QString path() const { return m_log->path(); }
    LogText *text() const { return m_text; }
    LogFile *log() const { return m_log.get(); }
    void search(const QString &pattern, bool forward);
    void nextError();
    bool searching() const { return m_searching; }

signals:
    void indexed();          // all that is in the file so far
    void found(qint64 line); // of search() and nextError(); -1: nothing

public slots:
    void copy();
    void save();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    LogView(QWidget *over, const QString &title, const QString &path);
    void makeBar();
    void scan();
    void scanned(bool more, bool anew);
    void find(const QRegularExpression &what, bool forward);
    void say(const QString &words = {}); // below; empty: how long the log is
    void wantMore();

    std::shared_ptr<LogFile> m_log;
    LogText *m_text;
    QLineEdit *m_search = nullptr;
    QComboBox *m_coding = nullptr;
    QLabel *m_state = nullptr;
    QTimer m_more;
    QString m_told;
    std::function<void(qint64)> m_source;
    std::shared_ptr<std::atomic_bool> m_stop; // of the search under way
    bool m_scanning = false, m_again = false, m_searching = false, m_over = false, m_wanted = false;
    SerialQueue m_files, m_finds; // last: they end first
};
