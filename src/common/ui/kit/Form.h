#pragma once
// Fields made from a description: label, editor, and below it, while one types, why the value can't stay so. Values go
// in and out as one JSON object; keys of it that no field shows are kept as they came. Main thread; no file is touched:
// whether a path exists is the owner's question, told back by setWhy().
//
//   Form form({Field::text("name", tr("名称")).longest(40).needed(),
//              Field::frames("frames", tr("帧")), Field::folder("outputPath", tr("出图路径")),
//              Field::choice("hash", tr("校验"), {{2, "MD5"}, {3, "SHA-1"}})});
//   form.setValues(obj);  ...  if (form.check()) save(form.values());
#include <functional>
#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QPair>
#include <QVector>
#include <QWidget>

class QCheckBox;
class QFormLayout;
class QLabel;
class QLineEdit;

struct Field {
    enum Kind { Text, Number, Frames, File, Folder, Choice, Radios, Switch, ReadOnly };
    using Choices = QVector<QPair<QJsonValue, QString>>; // value, words
    // Why the value can't stay so, in words; empty where it can. Gets all values of the form.
    using Why = std::function<QString(const QJsonValue &value, const QJsonObject &all)>;

    Kind kind = Text;
    QString key, label, hint, unit;
    qlonglong from = 0, to = 2147483647;
    int most = 0; // characters; 0: no limit
    bool must = false, password = false;
    QString none;                                                                 // of a number: what 0 means
    std::function<QString(const QJsonValue &value, const QJsonObject &all)> told; // what a good value comes to
    Choices choices;
    Why why;
    std::function<bool(const QJsonObject &all)> when; // enabled only then
    std::function<QWidget *(QWidget *parent)> aside;  // a button right of the editor

    static Field make(Kind kind, const QString &key, const QString &label);
    static Field text(const QString &key, const QString &label) { return make(Text, key, label); }
    static Field number(const QString &key, const QString &label, qlonglong from, qlonglong to);
    static Field frames(const QString &key, const QString &label) { return make(Frames, key, label); }
    static Field file(const QString &key, const QString &label) { return make(File, key, label); }
    static Field folder(const QString &key, const QString &label) { return make(Folder, key, label); }
    static Field choice(const QString &key, const QString &label, const Choices &choices = {});
    static Field radios(const QString &key, const QString &label, const Choices &choices); // all to be seen at once
    static Field toggle(const QString &key, const QString &label) { return make(Switch, key, label); }
    static Field shown(const QString &key, const QString &label) { return make(ReadOnly, key, label); }
    Field &needed() { return must = true, *this; }
    Field &longest(int characters) { return most = characters, *this; }
    Field &hinted(const QString &text) { return hint = text, *this; }
    Field &measured(const QString &text) { return unit = text, *this; }
    Field &checked(Why f) { return why = std::move(f), *this; }
    Field &onlyWhen(std::function<bool(const QJsonObject &)> f) { return when = std::move(f), *this; }
    // A number with a switch of its own that stands for 0 ("不限").
    Field &orNone(const QString &text) { return none = text, *this; }
    Field &telling(Why f) { return told = std::move(f), *this; } // shown under the field while its value is good
    Field &beside(std::function<QWidget *(QWidget *)> f) { return aside = std::move(f), *this; }
    Field &secret() { return password = true, *this; }
};

class Form : public QWidget
{
    Q_OBJECT
public:
    explicit Form(const QVector<Field> &fields, QWidget *parent = nullptr);

    static QString framesNote(const QString &frames); // "101 帧：1-100, 250"; empty where it can't be read

    void setValues(const QJsonObject &values); // emits no changed()
    QJsonObject values() const;
    QJsonValue value(const QString &key) const;
    void setValue(const QString &key, const QJsonValue &value);
    void setChoices(const QString &key, const Field::Choices &choices); // keeps the choice where it's still there

    bool check();                                         // all fields; the first bad one gets the focus
    bool good() const;                                    // as far as was typed
    QString why(const QString &key) const;                // what stands under the field
    void setWhy(const QString &key, const QString &text); // until the value changes: what only others know
    void judge(const QString &key);                       // anew: what its rule looks at has changed
    QWidget *editor(const QString &key) const;
    QString choiceText(const QString &key) const;

signals:
    void changed(QString key);

private:
    struct Row {
        Field field;
        QWidget *editor = nullptr; // QLineEdit, QComboBox, RadioGroup, QCheckBox or QLabel
        QCheckBox *none = nullptr; // stands for 0
        QLabel *note = nullptr;    // under the field: why, or what a frame text expands to
        QString why, foreign;      // own and told from outside
        bool touched = false;
    };
    void add(const Field &field);
    QWidget *makeEditor(int row, QWidget **line);
    QWidget *makeLine(int row, QLineEdit *edit);
    void pick(int row);
    void typed(int row);
    void judge(int row);
    void follow(); // enabled or not
    int rowOf(const QString &key) const;
    QJsonValue read(const Row &row) const;
    void write(Row *row, const QJsonValue &value);

    QFormLayout *m_layout;
    QVector<Row> m_rows;
    QJsonObject m_rest;
    bool m_quiet = false;
};
