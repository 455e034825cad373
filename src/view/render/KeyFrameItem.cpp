#include "view/render/KeyFrameItem.h"
#include "resolve/FrameSet.h"
#include <QVBoxLayout>

namespace
{
const QString Auto = QStringLiteral("autoKeys"), Keys = QStringLiteral("keyFrames");
} // namespace

KeyFrameItem::KeyFrameItem(QWidget *parent) : QWidget(parent)
{
    m_form = new Form(
        {Field::toggle(Auto, tr("自动取首帧、中间帧和末帧")),
         Field::frames(Keys, tr("优先帧"))
             .hinted(tr("留空则不优先渲染"))
             .checked([this](const QJsonValue &value, const QJsonObject &) {
                 return FrameSet::checkKeyFrames(value.toString(), m_frames);
             }),
         Field::radios(QStringLiteral("strategy"), tr("优先帧之后"),
                       {{1, tr("优先帧渲染完成后，自动开始渲染")}, {0, tr("优先帧渲染完成后，等待手动开始渲染")}}),
         Field::number(QStringLiteral("blocksCount"), tr("优先帧分块渲染"), 1, 1000).measured(tr("块"))},
        this);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_form);
    connect(m_form, &Form::changed, this, &KeyFrameItem::changed);
}

void KeyFrameItem::show(const QJsonObject &task, const QString &calculated)
{
    QJsonObject values = task;
    m_calculated = calculated;
    const QString keys = task.value(Keys).toString();
    values.insert(Auto, !keys.isEmpty() && keys == calculated);
    m_quiet = true;
    m_form->setValues(values);
    m_quiet = false;
}

void KeyFrameItem::setFrames(const QStringList &frames, const QString &calculated)
{
    m_frames = frames;
    m_calculated = calculated;
    const bool follows = m_form->value(Auto).toBool();
    const QString keys = follows ? calculated : m_form->value(Keys).toString();
    const bool moved = keys != m_form->value(Keys).toString();
    m_quiet = true;
    m_form->setValue(Keys, keys);
    m_form->judge(Keys); // other frames, another judgement
    m_quiet = false;
    if (moved)
        emit edited(Keys, keys);
}

void KeyFrameItem::changed(const QString &key)
{
    if (m_quiet)
        return;
    if (key == Auto) {
        if (m_form->value(Auto).toBool())
            setFrames(m_frames, m_calculated);
        return;
    }
    if (key == Keys) { // by hand
        m_quiet = true;
        m_form->setValue(Auto, false);
        m_quiet = false;
    }
    emit edited(key, m_form->value(key));
}
