#include "view/update/VersionDetail.h"
#include "common/ui/kit/Metrics.h"
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QRegularExpression>

namespace
{
// A word that is longer than the line can be broken too.
QString breakable(const QString &text)
{
    static const QRegularExpression run(QStringLiteral("(\\S{40})(?=\\S)"));
    return QString(text).replace(run, QStringLiteral("\\1\u200b"));
}

QLabel *words(const QString &text, const QString &name, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    return label;
}
} // namespace

VersionDetail::VersionDetail(const SoftwareOffer &offer, QWidget *parent)
    : QWidget(parent), m_offer(offer), m_box(new QCheckBox(offer.version, this))
{
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(Metrics::Inset, 0, 0, 0);
    all->setSpacing(0);
    auto *line = new QHBoxLayout;
    line->setSpacing(Metrics::Gap * 2);
    all->addLayout(line);
    line->addWidget(m_box);
    if (offer.versionType == 1)
        line->addWidget(words(tr("测试版"), QStringLiteral("warningText"), this));
    else if (offer.force == 1)
        line->addWidget(words(tr("必须更新"), QStringLiteral("warningText"), this));
    line->addStretch(1);
    if (offer.size > 0)
        line->addWidget(words(locale().formattedDataSize(offer.size), QStringLiteral("quiet"), this));
    if (!offer.notes.isEmpty()) {
        QLabel *notes = words(breakable(offer.notes), QStringLiteral("quiet"), this);
        notes->setWordWrap(true);
        notes->setContentsMargins(Metrics::Inset - 2, 0, 0, Metrics::Gap);
        all->addWidget(notes);
    }
    m_box->setAccessibleName(offer.name + QLatin1Char(' ') + offer.version);
    connect(m_box, &QCheckBox::clicked, this, &VersionDetail::Handle_check);
}

bool VersionDetail::taken() const { return m_box->isChecked(); }

void VersionDetail::setTaken(bool on) { m_box->setChecked(on); }

void VersionDetail::Handle_check(bool checked) { emit check_clicked(this, checked); }
