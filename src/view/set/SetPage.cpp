#include "view/set/SetPage.h"
#include "common/ui/kit/Metrics.h"
#include "common/UserInfo.h"
#include <QLabel>
#include <QVBoxLayout>

namespace
{
QString nameOf(Settings::Key key) { return Settings::key(key); }
bool isOn(const QJsonValue &value) { return value.isBool() ? value.toBool() : value.toInt() != 0; }

QJsonValue current(Settings::Key key)
{
    if (key == Settings::ResultDir)
        return UserInfo::resultDir(); // its default is worked out
    if (key == Settings::Language)
        return UserInfo::languageNumber() == 0 ? QStringLiteral("zh_cn") : QStringLiteral("en_us");
    const QVariant value = UserInfo::setting(key);
    return Settings::of(key).kind == Settings::Kind::Number || Settings::of(key).kind == Settings::Kind::Switch
               ? QJsonValue(value.toInt())
               : QJsonValue(value.toString());
}
} // namespace

SetPage::SetPage(QWidget *parent) : QWidget(parent), m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins(Metrics::Inset, Metrics::Margin, Metrics::Inset, Metrics::Margin);
    m_column->setSpacing(Metrics::Gap);
    m_column->addStretch(1);
}

void SetPage::addSection(const QString &title, const QVector<Field> &fields)
{
    auto *heading = new QLabel(title, this);
    heading->setObjectName(QStringLiteral("heading"));
    heading->setContentsMargins(0, m_forms.isEmpty() ? 0 : Metrics::Margin, 0, 0);
    auto *form = new Form(fields, this);
    for (const Field &field : fields)
        if (field.kind == Field::Choice)
            form->editor(field.key)->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_column->insertWidget(m_column->count() - 1, heading);
    m_column->insertWidget(m_column->count() - 1, form);
    m_forms << form;
    connect(form, &Form::changed, this, &SetPage::changed);
}

Field SetPage::setting(Settings::Key key, const QString &label)
{
    const Settings::Setting &row = Settings::of(key);
    m_settings << key;
    switch (row.kind) {
    case Settings::Kind::Number:
        return Field::number(nameOf(key), label, row.low, row.high);
    case Settings::Kind::Switch:
        return Field::toggle(nameOf(key), label);
    case Settings::Kind::Path:
        return Field::folder(nameOf(key), label);
    default:
        return Field::text(nameOf(key), label);
    }
}

Field SetPage::setting(Settings::Key key, const QString &label, const Field::Choices &choices)
{
    m_settings << key;
    return Field::choice(nameOf(key), label, choices);
}

Field SetPage::record(Field field)
{
    m_record << field.key;
    return field;
}

void SetPage::load()
{
    QJsonObject values = CommonConfig::get().saveBody();
    for (Settings::Key key : qAsConst(m_settings))
        values.insert(nameOf(key), current(key));
    const QJsonObject others = derived(values);
    for (auto it = others.begin(); it != others.end(); ++it)
        values.insert(it.key(), it.value());
    for (Form *form : qAsConst(m_forms))
        form->setValues(values);
    m_loaded = QJsonObject();
    m_kept.clear();
    for (Settings::Key key : qAsConst(m_settings))
        m_kept.insert(key, kept(key, value(nameOf(key))));
    for (const QString &key : qAsConst(m_record))
        m_loaded.insert(key, value(key));
}

bool SetPage::check()
{
    for (Form *form : qAsConst(m_forms))
        if (!form->check())
            return false;
    return true;
}

Form *SetPage::formOf(const QString &key) const
{
    for (Form *form : m_forms)
        if (form->editor(key))
            return form;
    return nullptr;
}

QJsonValue SetPage::value(const QString &key) const
{
    const Form *form = formOf(key);
    return form ? form->value(key) : QJsonValue(QJsonValue::Undefined);
}

void SetPage::setValue(const QString &key, const QJsonValue &value)
{
    if (Form *form = formOf(key))
        form->setValue(key, value);
}

QVariant SetPage::kept(Settings::Key key, const QJsonValue &shown) const
{
    return Settings::of(key).kind == Settings::Kind::Switch ? QVariant(isOn(shown) ? 1 : 0) : shown.toVariant();
}

SetPage::Changes SetPage::changes() const
{
    Changes out;
    for (Settings::Key key : m_settings) {
        const QVariant now = kept(key, value(nameOf(key)));
        if (now != m_kept.value(key))
            out.append({key, now});
    }
    return out;
}

void SetPage::lay(QJsonObject *record) const
{
    for (const QString &key : m_record) {
        const QJsonValue now = value(key);
        if (now != m_loaded.value(key))
            record->insert(key, now.isBool() ? QJsonValue(now.toBool() ? 1 : 0) : now);
    }
}
