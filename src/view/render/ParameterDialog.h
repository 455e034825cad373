#pragma once
// What the parameter dialogs of all programs share: a list to tick outputs (or cameras) in, the fields of the chosen
// output, priority frames, what concerns the whole task, a sum of frames and pixels. Rules and defaults are
// ParameterSheet's. Saving tests first: what a message tells keeps the dialog open and nothing is saved. The disk is
// looked at in the background. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/Form.h"
#include "resolve/ParameterSheet.h"

class CanshuItem;
class Debounce;
class KeyFrameItem;
class TickList;

class ParameterDialog : public DialogFrame
{
    Q_OBJECT
public:
    struct Scene {
        db_resolve res;
        ParameterSheet sheet;
    };
    // Hundreds of layers and cameras take their time, a link behind a dead drive longer: off the window's thread.
    static Scene read(const db_resolve &res, const CommonConfig &config);
    // The dialog of the scene's program, or null where it has none. The one way in.
    static ParameterDialog *make(const Scene &scene, QWidget *parent);
    const ParameterSheet &sheet() const { return m_sheet; }

    // Where the row stands and where it goes; at first the store and the queue of local scenes.
    struct Target {
        std::function<db_resolve(qlonglong rkey)> read;  // off the window's thread
        std::function<bool(const db_resolve &res)> send; // false: nobody is there to take it
        QString button;                                  // empty: "保存并提交"
    };
    void setTarget(const Target &target);

signals:
    void saved(qlonglong rkey); // the row goes on to the analysis queue

protected:
    struct Plan {
        QString name;                       // of the window
        QString outputs;                    // what the list holds, in words; empty: only cameras
        bool sized = true, cameras = false; // outputs have a size; cameras of each are ticked
        QVector<Field> output, task;        // fields beside those that all have
    };
    ParameterDialog(const Plan &plan, const Scene &scene, QWidget *parent);
    virtual void fieldEdited(const QString &key) { Q_UNUSED(key) } // fields that move with it
    virtual void outputShown() {}
    CanshuItem *item() const { return m_item; }
    const ParameterSheet::Output *shown() const; // whose fields are shown; null: none
    ParameterSheet m_sheet;

private:
    void makeLists(const Plan &plan);
    void makeFields(const Plan &plan);
    void showOutput();
    void showCameras();
    void edit(const QString &key, const QJsonValue &value);
    void outputsTicked(const QStringList &keys);
    void camerasTicked();
    void framesMoved();
    void sum();
    QStringList cells(int output) const;
    void accept();
    void save();

    db_resolve m_res;
    Target m_target;
    QPushButton *m_save;
    QHBoxLayout *m_columns;
    TickList *m_outputs = nullptr, *m_cameras = nullptr;
    CanshuItem *m_item = nullptr;
    KeyFrameItem *m_keys = nullptr;
    Form *m_task = nullptr;
    QLabel *m_sum, *m_about = nullptr; // m_about: what an edit is for
    Debounce *m_summing;
    QList<int> m_chosen; // outputs that an edit is for
};
