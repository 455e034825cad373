#pragma once
// How much of a farm's storage is used: "%1G/%2G" with a thin bar. Asks the business server when it's told to. Main
// thread.
#include <functional>
#include <QWidget>

class QLabel;
class QProgressBar;

class DriveInfo : public QWidget
{
    Q_OBJECT
public:
    DriveInfo(int farmId, QWidget *parent);
    void ask(std::function<void()> then = {});  // then: also where nothing new came of it
    qint64 leftBytes() const { return m_left; } // -1: not known
    QString text() const;

private:
    void show(double used, double size); // in G
    const int m_farm;
    QLabel *m_text;
    QProgressBar *m_bar;
    qint64 m_left = -1;
};
