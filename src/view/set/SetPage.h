#pragma once
// A page of settings in sections of fields, made from the table of settings and the account's common record. It shows
// and checks; Set keeps what was changed. Main thread.
#include "common/CommonConfig.h"
#include "common/facts/Settings.h"
#include "common/ui/kit/Form.h"
#include <QWidget>

class QVBoxLayout;

class SetPage : public QWidget
{
    Q_OBJECT
public:
    explicit SetPage(QWidget *parent);
    void load(); // what is in force now
    bool check();
    Form *formOf(const QString &key) const; // null where no field shows it

    using Changes = QList<QPair<Settings::Key, QVariant>>;
    Changes changes() const; // of config.ini; what the user didn't touch stays as it is
    // The record's keys of this page laid over the body: those untouched as they came.
    void lay(QJsonObject *record) const;
    void setValue(const QString &key, const QJsonValue &value);
    QJsonValue value(const QString &key) const;

signals:
    void changed();

protected:
    void addSection(const QString &title, const QVector<Field> &fields);
    // A field of the table: kind, range and words are the table's.
    Field setting(Settings::Key key, const QString &label);
    Field setting(Settings::Key key, const QString &label, const Field::Choices &choices);
    Field record(Field field);                                               // a field of the common record
    virtual QJsonObject derived(const QJsonObject &) const { return {}; }    // fields that stand for others
    virtual QVariant kept(Settings::Key key, const QJsonValue &shown) const; // as it goes into config.ini

private:
    QVBoxLayout *m_column;
    QVector<Form *> m_forms;
    QList<Settings::Key> m_settings;
    QStringList m_record;
    QMap<Settings::Key, QVariant> m_kept; // both as they were after load()
    QJsonObject m_loaded;
};
