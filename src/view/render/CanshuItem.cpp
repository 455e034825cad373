#include "view/render/CanshuItem.h"
#include "common/Debounce.h"
#include "common/ui/kit/Metrics.h"
#include "resolve/FrameSet.h"
#include "resolve/ParameterSheet.h"
#include "view/render/ResolutionLock.h"
#include <QVBoxLayout>

namespace
{
QString textOf(const QJsonObject &all, const char *key) { return all.value(QLatin1String(key)).toVariant().toString(); }
bool on(const QJsonObject &all, const char *key) { return all.value(QLatin1String(key)).toBool(); }
} // namespace

CanshuItem::CanshuItem(const QVector<Field> &extra, bool sized, QWidget *parent)
    : QWidget(parent), m_calm(new Debounce(this))
{
    const int most = ParameterSheet::LongestSide;
    QVector<Field> fields{
        Field::frames(QStringLiteral("frames"), tr("序列帧"))
            .hinted(QStringLiteral("1-100,250"))
            .checked(
                [](const QJsonValue &value, const QJsonObject &) { return FrameSet::checkFrames(value.toString()); })
            .telling([](const QJsonValue &value, const QJsonObject &all) {
                return Form::framesNote(FrameSet::join(value.toString(), textOf(all, "step")));
            }),
        Field::number(QStringLiteral("step"), tr("隔帧"), 1, 999999)
            .checked([](const QJsonValue &value, const QJsonObject &all) {
                return FrameSet::checkStep(textOf(all, "frames"), value.toVariant().toString());
            })
            .onlyWhen([](const QJsonObject &all) { return FrameSet::stepEnabled(textOf(all, "frames")); })};
    if (sized) {
        fields << Field::number(QStringLiteral("width"), tr("宽度"), 1, most).beside([this](QWidget *box) {
            return m_lock = new ResolutionLock(box);
        }) << Field::number(QStringLiteral("height"), tr("高度"), 1, most);
    }
    m_form = new Form(fields + extra, this);
    QVector<Field> whole;
    if (sized) {
        const auto only = [](const QJsonObject &all) { return on(all, "noSolutionCheck"); };
        whole << Field::toggle(QStringLiteral("noSolutionCheck"), tr("整个任务使用统一的分辨率"))
              << Field::number(QStringLiteral("canw"), tr("统一宽度"), 1, most).onlyWhen(only)
              << Field::number(QStringLiteral("canh"), tr("统一高度"), 1, most).onlyWhen(only);
    }
    whole << Field::toggle(QStringLiteral("noFrameCheck"), tr("整个任务使用统一的序列帧"))
          << Field::frames(QStringLiteral("canframe"), tr("统一序列帧")).onlyWhen([](const QJsonObject &all) {
                 return on(all, "noFrameCheck");
             });
    m_whole = new Form(whole, this);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(Metrics::Gap);
    column->addWidget(m_form);
    column->addWidget(m_whole);
    connect(m_form, &Form::changed, this, &CanshuItem::changed);
    connect(m_whole, &Form::changed, this, [this](const QString &key) {
        emit taskEdited(key, m_whole->value(key));
        m_calm->debounce(CalmMs);
    });
    connect(m_calm, &Debounce::debout, this, &CanshuItem::calKeyFrame);
    if (m_lock)
        connect(m_lock, &ResolutionLock::lockChanged, this, [this] {
            m_width = m_form->value(QStringLiteral("width")).toInt();
            m_height = m_form->value(QStringLiteral("height")).toInt();
        });
}

void CanshuItem::show(const QJsonObject &values, const QJsonObject &task)
{
    m_quiet = true;
    m_form->setValues(values);
    m_whole->setValues(task);
    m_width = values.value(QLatin1String("width")).toInt();
    m_height = values.value(QLatin1String("height")).toInt();
    m_quiet = false;
}

void CanshuItem::changed(const QString &key)
{
    if (m_quiet)
        return;
    emit edited(key, m_form->value(key));
    if (key == QLatin1String("frames") || key == QLatin1String("step"))
        m_calm->debounce(CalmMs);
    if (m_lock && m_lock->locked() && (key == QLatin1String("width") || key == QLatin1String("height")))
        keepRatio(key);
}

void CanshuItem::keepRatio(const QString &key)
{
    const bool wide = key == QLatin1String("width");
    const QString second = wide ? QStringLiteral("height") : QStringLiteral("width");
    const int now = m_form->value(key).toInt();
    const int side = ResolutionLock::other(wide ? m_width : m_height, wide ? m_height : m_width, now);
    if (now <= 0 || side <= 0)
        return;
    m_quiet = true; // this one doesn't pull the first
    m_form->setValue(second, side);
    m_quiet = false;
    emit edited(second, side);
}
