#pragma once
// What stands before a commit by hand: what the order would send, what is missing and where it may be looked for, what
// the farm has already, how long it takes; and what has to be asked of the user. The figures come as they're found out,
// and nothing waits for them: "提交" goes at once, at any time. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "resolve/Preflight.h"

class QCheckBox;
class QFormLayout;
class TablePage;
template <class R> class RecordModel;

class CommitPreview : public DialogFrame
{
    Q_OBJECT
public:
    struct Wish {
        QList<qlonglong> rkeys;
        QString heading, tip;
        QString question;    // what the user should think of; empty: nothing
        bool danger = false; // the focus stands on going back
        int others = 0;      // scenes of the same drop that may go along
    };
    CommitPreview(const Wish &wish, QWidget *parent);
    ~CommitPreview() override;
    Preflight *preflight() const { return m_preflight; }
    void tell(const PreflightFigures &figures);
    TablePage *missing() const { return m_missing; }

    // In words; empty where there is nothing to tell.
    static QString timeText(const PreflightFigures &figures);

signals:
    void commit(bool along); // the others of the drop too

private:
    void makeFigures();
    void makeMissing();
    QLabel *line(const QString &title);
    void find(const QString &folder);
    void looked(int found, int left);

    Preflight *m_preflight; // lives on a thread of its own
    QFormLayout *m_lines;
    QLabel *m_files, *m_lost, *m_copies, *m_here, *m_send, *m_space;
    QLabel *m_note = nullptr; // what became of a look for files
    QCheckBox *m_along = nullptr;
    RecordModel<PreflightFolder> *m_model;
    TablePage *m_missing;
    QString m_looking; // the folder that files are looked for in
};
