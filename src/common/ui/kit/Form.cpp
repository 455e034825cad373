#include "common/ui/kit/Form.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/FrameEdit.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RadioGroup.h"
#include "resolve/FrameSet.h"
#include <algorithm>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

namespace
{
constexpr int FieldWidth = 360;
constexpr int ShownFrames = 60; // characters of a frame text told back
} // namespace

Field Field::make(Kind kind, const QString &key, const QString &label)
{
    Field field;
    field.kind = kind;
    field.key = key;
    field.label = label;
    return field;
}

Field Field::number(const QString &key, const QString &label, qlonglong from, qlonglong to)
{
    Field field = make(Number, key, label);
    field.from = from;
    field.to = to;
    return field;
}

Field Field::choice(const QString &key, const QString &label, const Choices &choices)
{
    Field field = make(Choice, key, label);
    field.choices = choices;
    return field;
}

Field Field::radios(const QString &key, const QString &label, const Choices &choices)
{
    Field field = choice(key, label, choices);
    field.kind = Radios;
    return field;
}

Form::Form(const QVector<Field> &fields, QWidget *parent) : QWidget(parent), m_layout(new QFormLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setHorizontalSpacing(Metrics::Margin);
    m_layout->setVerticalSpacing(Metrics::Gap);
    m_layout->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_layout->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (const Field &field : fields)
        add(field);
    follow();
}

QString Form::framesNote(const QString &text)
{
    const int count = FrameSet::expand(text).size();
    QString words = FrameSet::rewrite(FrameSet::normalise(text));
    words.replace(QLatin1Char(','), QLatin1String(", "));
    if (words.size() > ShownFrames)
        words = words.left(ShownFrames) + QStringLiteral("…");
    return count > 0 ? tr("%1 帧：%2").arg(count).arg(words) : QString();
}

void Form::add(const Field &field)
{
    const int at = m_rows.size();
    m_rows.append(Row{field, nullptr, nullptr, nullptr, {}, {}, false});
    QWidget *line = nullptr;
    QWidget *editor = makeEditor(at, &line);
    m_rows[at].editor = editor;
    editor->setObjectName(field.key);
    editor->setAccessibleName(field.label);
    editor->setAccessibleDescription(field.hint);
    if (field.kind != Field::ReadOnly)
        editor->setMinimumHeight(Metrics::Control);
    auto *box = new QWidget(this);
    auto *column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(line);
    auto *note = new QLabel(box);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    note->setObjectName(QStringLiteral("fieldNote"));
    note->hide();
    m_rows[at].note = note;
    column->addWidget(note);
    auto *label = new QLabel(field.kind == Field::Switch ? QString() : field.label + tr("："), this);
    label->setBuddy(editor);
    label->setMinimumHeight(Metrics::Control);
    m_layout->addRow(label, box);
    if (field.kind == Field::Frames)
        judge(at);
}

QWidget *Form::makeEditor(int at, QWidget **line)
{
    const Field &field = m_rows.at(at).field;
    const auto told = [this, at] { typed(at); };
    if (field.kind == Field::ReadOnly) {
        auto *label = new QLabel(this);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        return *line = label;
    }
    if (field.kind == Field::Switch) {
        auto *box = new QCheckBox(field.label, this);
        connect(box, &QCheckBox::toggled, this, told);
        return *line = box;
    }
    if (field.kind == Field::Choice) {
        auto *box = new QComboBox(this);
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumWidth(FieldWidth / 2);
        for (const auto &one : field.choices)
            box->addItem(one.second, one.first);
        connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), this, told);
        return *line = box;
    }
    if (field.kind == Field::Radios) {
        auto *group = new RadioGroup(this);
        for (const auto &one : field.choices)
            group->add(one.second);
        connect(group, &RadioGroup::chosen, this, told);
        return *line = group;
    }
    QLineEdit *edit = field.kind == Field::Frames ? new FrameEdit(this) : new QLineEdit(this);
    edit->setPlaceholderText(field.hint);
    edit->setMinimumWidth(FieldWidth / 2);
    edit->setMaxLength(FrameSet::MaxText);
    if (field.password)
        edit->setEchoMode(QLineEdit::Password);
    connect(edit, &QLineEdit::textChanged, this, told);
    const bool path = field.kind == Field::File || field.kind == Field::Folder;
    const bool bare = !path && !field.aside && field.unit.isEmpty() && field.none.isEmpty();
    *line = bare ? edit : makeLine(at, edit);
    return edit;
}

// What stands beside the editor: a picker, a unit, a switch for 0.
QWidget *Form::makeLine(int at, QLineEdit *edit)
{
    const Field &field = m_rows.at(at).field;
    auto *both = new QWidget(this);
    auto *row = new QHBoxLayout(both);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Metrics::Gap);
    row->addWidget(edit, 1);
    if (field.kind == Field::File || field.kind == Field::Folder) {
        auto *browse = new QToolButton(both);
        browse->setIcon(IconTool::icon(QStringLiteral("folder")));
        browse->setFixedSize(Metrics::Control, Metrics::Control);
        browse->setFocusPolicy(Qt::StrongFocus);
        browse->setToolTip(tr("浏览 %1").arg(field.label));
        browse->setAccessibleName(browse->toolTip());
        connect(browse, &QToolButton::clicked, this, [this, at] { pick(at); });
        row->addWidget(browse);
    }
    if (!field.unit.isEmpty())
        row->addWidget(new QLabel(field.unit, both));
    if (!field.none.isEmpty()) {
        auto *none = new QCheckBox(field.none, both);
        none->setObjectName(field.key + QStringLiteral("None"));
        none->setAccessibleName(QStringLiteral("%1 %2").arg(field.label, field.none));
        connect(none, &QCheckBox::toggled, this, [this, at] { typed(at); });
        m_rows[at].none = none;
        row->addWidget(none);
    }
    if (field.aside)
        row->addWidget(field.aside(both));
    return both;
}

void Form::pick(int at)
{
    const Row &row = m_rows.at(at);
    auto *edit = static_cast<QLineEdit *>(row.editor);
    auto *dialog = new QFileDialog(window(), row.field.label, edit->text());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(row.field.kind == Field::Folder ? QFileDialog::Directory : QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, edit, &QLineEdit::setText);
    dialog->open();
}

int Form::rowOf(const QString &key) const
{
    for (int i = 0; i < m_rows.size(); ++i)
        if (m_rows.at(i).field.key == key)
            return i;
    return -1;
}

QJsonValue Form::read(const Row &row) const
{
    switch (row.field.kind) {
    case Field::ReadOnly:
        return m_rest.value(row.field.key);
    case Field::Switch:
        return static_cast<QCheckBox *>(row.editor)->isChecked();
    case Field::Radios: {
        const int at = static_cast<RadioGroup *>(row.editor)->current();
        return at < 0 ? QJsonValue() : row.field.choices.at(at).first;
    }
    case Field::Choice: {
        const auto *box = static_cast<QComboBox *>(row.editor);
        const int at = box->currentIndex();
        return at < 0 || at >= row.field.choices.size() ? QJsonValue() : row.field.choices.at(at).first;
    }
    case Field::Number: {
        if (row.none && row.none->isChecked())
            return 0;
        bool good = false;
        const QString text = static_cast<QLineEdit *>(row.editor)->text().trimmed();
        const qlonglong number = text.toLongLong(&good);
        return good ? QJsonValue(number) : QJsonValue(text);
    }
    default:
        return static_cast<QLineEdit *>(row.editor)->text().trimmed();
    }
}

void Form::write(Row *row, const QJsonValue &value)
{
    const QString text = value.isDouble() ? QString::number(value.toDouble(), 'g', 15) : value.toVariant().toString();
    switch (row->field.kind) {
    case Field::ReadOnly:
        static_cast<QLabel *>(row->editor)->setText(text);
        break;
    case Field::Switch: // servers write 1 as well as true
        static_cast<QCheckBox *>(row->editor)
            ->setChecked(value.isBool() ? value.toBool() : value.toVariant().toInt() != 0);
        break;
    case Field::Radios:
    case Field::Choice: {
        int at = -1;
        for (int i = 0; i < row->field.choices.size() && at < 0; ++i)
            if (row->field.choices.at(i).first == value ||
                (!value.isObject() && row->field.choices.at(i).first.toVariant().toString() == text))
                at = i;
        if (row->field.kind == Field::Radios)
            static_cast<RadioGroup *>(row->editor)->setCurrent(at);
        else
            static_cast<QComboBox *>(row->editor)->setCurrentIndex(at);
        break;
    }
    default:
        if (row->none) {
            row->none->setChecked(value.toVariant().toDouble() <= 0);
            if (row->none->isChecked())
                return;
        }
        static_cast<QLineEdit *>(row->editor)->setText(text);
    }
}

void Form::setValues(const QJsonObject &values)
{
    m_quiet = true;
    m_rest = values;
    for (Row &row : m_rows) {
        write(&row, values.value(row.field.key));
        row.touched = false;
        row.foreign.clear();
    }
    m_quiet = false;
    follow();
    for (int i = 0; i < m_rows.size(); ++i)
        judge(i);
}

QJsonObject Form::values() const
{
    QJsonObject all = m_rest;
    for (const Row &row : m_rows)
        if (row.field.kind != Field::ReadOnly)
            all.insert(row.field.key, read(row));
    return all;
}

QJsonValue Form::value(const QString &key) const
{
    const int at = rowOf(key);
    return at < 0 ? m_rest.value(key) : read(m_rows.at(at));
}

void Form::setValue(const QString &key, const QJsonValue &value)
{
    m_rest.insert(key, value);
    if (const int at = rowOf(key); at >= 0)
        write(&m_rows[at], value);
}

void Form::setChoices(const QString &key, const Field::Choices &choices)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    const QJsonValue before = read(m_rows.at(at));
    auto *box = static_cast<QComboBox *>(m_rows.at(at).editor);
    const bool quiet = std::exchange(m_quiet, true);
    m_rows[at].field.choices = choices;
    box->clear();
    for (const auto &one : choices) {
        box->addItem(one.second);
        box->setItemData(box->count() - 1, one.second, Qt::AccessibleTextRole);
    }
    write(&m_rows[at], before);
    m_quiet = quiet;
    follow();
}

void Form::typed(int at)
{
    if (m_quiet)
        return;
    m_rows[at].touched = true;
    m_rows[at].foreign.clear();
    follow();
    for (int i = 0; i < m_rows.size(); ++i) // a rule may look at another field
        judge(i);
    emit changed(m_rows.at(at).field.key);
}

void Form::judge(int at)
{
    Row &row = m_rows[at];
    const Field &field = row.field;
    const QJsonValue value = read(row);
    const QString text = value.toVariant().toString();
    row.why.clear();
    if (row.editor->isEnabledTo(this)) {
        if (field.must && (value.isNull() || value.isUndefined() || (value.isString() && text.isEmpty())))
            row.why = tr("%1不能为空").arg(field.label);
        else if (field.kind == Field::Number && !value.isDouble() && !text.isEmpty())
            row.why = tr("请输入数字");
        else if (field.kind == Field::Number && value.isDouble() &&
                 (value.toDouble() < double(field.from) || value.toDouble() > double(field.to)))
            row.why = tr("请输入 %1 到 %2 之间的数字").arg(field.from).arg(field.to);
        else if (field.kind == Field::Frames && !field.why && !text.isEmpty())
            row.why = FrameSet::checkFrames(text);
        else if (field.most > 0 && text.size() > field.most)
            row.why = tr("最多 %1 个字符").arg(field.most);
        if (row.why.isEmpty() && field.why)
            row.why = field.why(value, values());
        if (row.why.isEmpty())
            row.why = row.foreign;
    }
    const bool tell = !row.why.isEmpty() && (row.touched || !row.foreign.isEmpty());
    QString note = tell ? row.why : QString();
    if (row.why.isEmpty() && field.told)
        note = field.told(value, values());
    else if (row.why.isEmpty() && field.kind == Field::Frames && row.editor->isEnabledTo(this))
        note = framesNote(text);
    row.note->setText(note);
    row.note->setVisible(!note.isEmpty());
    row.editor->setAccessibleDescription(tell ? row.why : field.hint);
    if (row.editor->property("bad").toBool() == tell && row.note->property("bad").toBool() == tell)
        return;
    for (QWidget *widget : {row.editor, static_cast<QWidget *>(row.note)}) {
        widget->setProperty("bad", tell);
        widget->style()->unpolish(widget);
        widget->style()->polish(widget);
    }
}

void Form::follow()
{
    const QJsonObject all = values();
    for (Row &row : m_rows) {
        const bool empty = row.field.kind == Field::Choice && row.field.choices.isEmpty();
        const bool on = !empty && (!row.field.when || row.field.when(all));
        row.editor->setEnabled(on && !(row.none && row.none->isChecked()));
        if (row.none)
            row.none->setEnabled(on);
    }
}

bool Form::check()
{
    int bad = -1;
    for (int i = 0; i < m_rows.size(); ++i) {
        m_rows[i].touched = true;
        judge(i);
        if (bad < 0 && !m_rows.at(i).why.isEmpty())
            bad = i;
    }
    if (bad >= 0)
        m_rows.at(bad).editor->setFocus();
    return bad < 0;
}

bool Form::good() const
{
    return std::all_of(m_rows.begin(), m_rows.end(), [](const Row &row) { return row.why.isEmpty(); });
}

QString Form::why(const QString &key) const
{
    const int at = rowOf(key);
    return at < 0 || !m_rows.at(at).touched ? QString() : m_rows.at(at).why;
}

void Form::setWhy(const QString &key, const QString &text)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    m_rows[at].foreign = text;
    m_rows[at].touched = true;
    judge(at);
}

void Form::judge(const QString &key)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    m_rows[at].touched = m_rows.at(at).touched || !read(m_rows.at(at)).toVariant().toString().isEmpty();
    judge(at);
}

QWidget *Form::editor(const QString &key) const
{
    const int at = rowOf(key);
    return at < 0 ? nullptr : m_rows.at(at).editor;
}

QString Form::choiceText(const QString &key) const
{
    auto *box = qobject_cast<QComboBox *>(editor(key));
    return box ? box->currentText() : QString();
}
