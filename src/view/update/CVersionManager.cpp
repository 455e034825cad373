#include "view/update/CVersionManager.h"
#include "common/ui/kit/Metrics.h"
#include "view/update/SoftWareDetail.h"
#include <QCheckBox>
#include <QCloseEvent>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

CVersionManager::CVersionManager(const SoftwareState &state, bool must, QWidget *parent)
    : DialogFrame(QStringLiteral("softwareUpdates"), tr("软件更新"), parent),
      m_betas(new QCheckBox(tr("显示测试版"), this)), m_must(must)
{
    constexpr int Width = 520;
    setWanted({Width, 0});
    QStringList ids;
    QMap<QString, QList<SoftwareOffer>> groups;
    bool beta = false;
    for (const SoftwareOffer &one : state.updates()) {
        if (!ids.contains(one.softwareId))
            ids << one.softwareId;
        groups[one.softwareId] << one;
        beta = beta || one.versionType == 1;
    }
    for (const QString &id : ids) {
        auto *row = new SoftWareDetail(groups.value(id), state.current.value(id).version, this);
        connect(row, &SoftWareDetail::checked, this, &CVersionManager::check_clicked);
        content()->addWidget(row);
        m_rows << row;
    }
    content()->addStretch(1);
    m_betas->setObjectName(QStringLiteral("betas"));
    m_betas->setVisible(beta);
    addToRow(m_betas);
    connect(m_betas, &QCheckBox::toggled, this, &CVersionManager::showBetas);
    if (!must)
        addButton(tr("以后再说"), Close)->setObjectName(QStringLiteral("laterBtn"));
    m_update = addButton(tr("更新版本"), Primary, [this] { on_UpdateBtn_clicked(); });
    m_update->setObjectName(QStringLiteral("UpdateBtn"));
    if (must)
        setError(tr("有必须安装的更新，已经推迟了一天，请现在更新。"));
    showBetas(false);
}

bool CVersionManager::offersAnything() const { return m_any; }

void CVersionManager::offerBetas() { m_betas->setChecked(true); }

void CVersionManager::showBetas(bool on)
{
    m_any = false;
    for (SoftWareDetail *row : m_rows)
        m_any = row->showBetas(on) || m_any;
    check_clicked(on);
    // Once the rows have told what they need.
    if (isVisible())
        QTimer::singleShot(0, this,
                           [this] { resize(size().expandedTo(sizeHint()).boundedTo(screen()->availableSize())); });
}

QList<SoftwareOffer> CVersionManager::chosen() const
{
    QList<SoftwareOffer> list;
    for (const SoftWareDetail *row : m_rows)
        if (const VersionDetail *one = row->chosen())
            list << one->offer();
    return list;
}

// What has to come can't be left out any more.
void CVersionManager::check_clicked(bool)
{
    bool enough = !chosen().isEmpty();
    for (const SoftWareDetail *row : m_rows)
        enough = enough && !(m_must && row->forced() && !row->chosen());
    m_update->setEnabled(enough);
}

void CVersionManager::on_UpdateBtn_clicked()
{
    const QList<SoftwareOffer> list = chosen();
    if (list.isEmpty())
        return;
    m_must = false;
    close();
    emit wanted(list);
}

void CVersionManager::on_headClose_clicked()
{
    if (m_must)
        return;
    close();
    emit putOff();
}

void CVersionManager::closeEvent(QCloseEvent *event)
{
    if (m_must)
        event->ignore();
    else
        DialogFrame::closeEvent(event);
}
