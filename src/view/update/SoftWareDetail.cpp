#include "view/update/SoftWareDetail.h"
#include "common/ui/kit/Metrics.h"
#include "package/Manifest.h"
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>

SoftWareDetail::SoftWareDetail(const QList<SoftwareOffer> &offers, const QString &installed, QWidget *parent)
    : QWidget(parent), m_box(new QCheckBox(offers.first().name, this))
{
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, Metrics::Gap);
    all->setSpacing(0);
    auto *line = new QHBoxLayout;
    all->addLayout(line);
    m_box->setProperty("strong", true);
    line->addWidget(m_box);
    line->addStretch(1);
    auto *have = new QLabel(installed.isEmpty() ? tr("未安装") : tr("当前版本 %1").arg(installed), this);
    have->setObjectName(QStringLiteral("quiet"));
    have->setTextFormat(Qt::PlainText);
    line->addWidget(have);
    for (const SoftwareOffer &offer : offers) {
        auto *row = new VersionDetail(offer, this);
        connect(row, &VersionDetail::check_clicked, this, &SoftWareDetail::check_clicked);
        all->addWidget(row);
        m_rows << row;
    }
    connect(m_box, &QCheckBox::clicked, this, [this](bool on) {
        take(on ? newest() : nullptr);
        emit checked(on);
    });
}

const VersionDetail *SoftWareDetail::chosen() const
{
    for (const VersionDetail *row : m_rows)
        if (row->taken())
            return row;
    return nullptr;
}

bool SoftWareDetail::forced() const
{
    for (const VersionDetail *row : m_rows)
        if (row->offer().force == 1 && row->offer().versionType == 0)
            return true;
    return false;
}

VersionDetail *SoftWareDetail::newest() const
{
    VersionDetail *found = nullptr;
    for (VersionDetail *row : m_rows)
        if (!row->isHidden() &&
            (!found || Manifest::compareVersions(row->offer().version, found->offer().version) == 1))
            found = row;
    return found;
}

void SoftWareDetail::take(VersionDetail *one)
{
    for (VersionDetail *row : m_rows)
        row->setTaken(row == one);
    m_box->setChecked(one);
}

bool SoftWareDetail::showBetas(bool on)
{
    for (VersionDetail *row : m_rows)
        row->setVisible(on || row->offer().versionType == 0);
    VersionDetail *best = newest();
    const VersionDetail *before = chosen();
    if (!best || !before || before->isHidden())
        take(best && best->offer().versionType == 0 ? best : nullptr); // a beta is taken by hand alone
    setVisible(best);
    return best;
}

void SoftWareDetail::check_clicked(VersionDetail *self, bool clicked)
{
    take(clicked ? self : nullptr);
    emit checked(clicked);
}
