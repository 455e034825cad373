#pragma once
// The tab of one farm in the drive: its name, a word where it can't be used, a cross that takes it out of the bar. Main
// thread.
#include <QJsonObject>
#include <QWidget>

class QPushButton;
class QToolButton;

struct DriveFarm {
    static constexpr int Usable = 1, Grey = 2;
    int id = 0, status = 0;
    QString name, platform;
    bool usable() const { return status == Usable; }
    QString statusText() const; // empty: it can be used
    static DriveFarm from(const QJsonObject &farm);
};

class FarmTab : public QWidget
{
    Q_OBJECT
public:
    FarmTab(const DriveFarm &farm, QWidget *parent);
    const DriveFarm &farm() const { return m_farm; }
    void setFarm(const DriveFarm &farm);
    void setSelected(bool on);
    bool selected() const;
    QPushButton *button() const { return m_button; }
    QToolButton *cross() const { return m_cross; }

signals:
    void farmClick(int farmId);
    void farmDel(int farmId);

private:
    DriveFarm m_farm;
    QPushButton *m_button;
    QToolButton *m_cross;
};
