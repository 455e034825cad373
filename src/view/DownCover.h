#pragma once
// "序列检查": some frames of a task are on disk, some aren't. Shows which are missing and asks what to download; the
// answer goes to the download queue once. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"

class DownCover : public DialogFrame
{
    Q_OBJECT
public:
    enum Cover { All = 0, Missing = 1, Cancelled = 2 };
    DownCover(int missionId, const QString &name, const QString &text, QWidget *parent); // name: empty where unknown

public slots:
    void on_headClose_clicked() override;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void answer(int cover);
    int m_mission;
    bool m_done = false;
};
