#include "view/driver/CheckTree.h"
#include "common/ui/kit/TablePage.h"
#include "common/UserInfo.h"
#include "view/driver/FileView.h"
#include <QPushButton>

CheckTree::CheckTree(const DriveQueue::Place &place, const DriveCheck::Pair &pair, QWidget *parent)
    : DialogFrame(QStringLiteral("CheckTree"), tr("校验"), parent), m_pair(pair), m_check(new DriveCheck(place, this)),
      m_state(new QLabel(this))
{
    setHeading(DriveText::clean(pair.dpath), DriveText::clean(pair.lpath));
    using C = Column<Row>;
    m_model = new RecordModel<Row>(
        [](const Row &r) { return r.key; },
        {C(QStringLiteral("path"), tr("文件"), 320).text([](const Row &r) { return r.path; }).stretch(),
         C(QStringLiteral("what"), tr("差异"), 150).text([](const Row &r) { return r.what; })},
        this);
    m_model->setSame([](const Row &a, const Row &b) { return a == b; });
    TablePage::Look look;
    look.accessible = tr("差异列表");
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = tr("没有差异");
    look.refresh = look.bar = look.columns = false;
    auto *table = new TablePage(look, m_model, this);
    table->build();
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_state->setText(tr("正在校验…"));
    content()->addWidget(m_state);
    content()->addWidget(table, 1);
    m_send = addButton(tr("补传到云盘"), Left, [this] { mend(true); });
    m_fetch = addButton(tr("补下到本机"), Left, [this] { mend(false); });
    addButton(tr("关闭"), Close);
    m_send->setEnabled(false);
    m_fetch->setEnabled(false);
    setWanted({620, 320});
    connect(m_check, &DriveCheck::progress, this, [this](qlonglong files, qlonglong different) {
        m_state->setText(tr("正在校验：已比较 %1 个文件，%2 个不同").arg(files).arg(different));
        fill();
    });
    connect(m_check, &DriveCheck::finished, this, &CheckTree::over);
    m_check->start({pair});
}

void CheckTree::fill()
{
    QList<Row> rows;
    const QList<DriveCheck::Difference> all = m_check->differences();
    for (const DriveCheck::Difference &one : all) {
        const QString path = one.dpath.isEmpty() ? one.lpath : one.dpath;
        const QString inside =
            path.startsWith(m_pair.dpath + QLatin1Char('/')) ? path.mid(m_pair.dpath.size() + 1) : path;
        rows << Row{one.lpath + QLatin1Char('\n') + one.dpath, DriveText::clean(inside), DriveCheck::text(one.what)};
    }
    m_model->setRows(rows);
}

void CheckTree::over(bool whole, const QString &why)
{
    fill();
    const bool some = m_check->different() > 0;
    m_state->setText(tr("已比较 %1 个文件，%2 个不同").arg(m_check->files()).arg(m_check->different()));
    if (!whole)
        setError(why.isEmpty() ? tr("校验没有完成") : why);
    m_send->setEnabled(some && UserInfo::canUpload());
    m_fetch->setEnabled(some);
}

void CheckTree::mend(bool toDrive)
{
    if (m_check->mend(toDrive) == 0)
        return setError(toDrive ? tr("没有可以补传的文件") : tr("没有可以补下的文件"));
    emit mended();
    close();
}
