#include "view/driver/CheckTree.h"
#include "common/ui/kit/TablePage.h"
#include "common/UserInfo.h"
#include "transfer/drive/DriveRest.h"
#include "view/driver/FileView.h"
#include <QElapsedTimer>
#include <QLabel>
#include <QLocale>
#include <QPushButton>

namespace
{
constexpr int LookMs = 100, FillMs = 6, Piece = 500;
constexpr int DownloadRight = 10;

Tint tint(const CheckTree::Row &) { return Tint::Warning; }
QString count(qlonglong number) { return QLocale().toString(number); }
} // namespace

CheckTree::CheckTree(const DriveQueue::Place &place, const DriveCheck::Pair &pair, QWidget *parent)
    : DialogFrame(QStringLiteral("CheckTree"), tr("校验"), parent), m_place(place), m_pair(pair),
      m_state(new QLabel(this))
{
    setHeading(DriveText::clean(pair.dpath), DriveText::clean(pair.lpath));
    using C = Column<Row>;
    m_model = new RecordModel<Row>(
        [](const Row &r) { return QString::number(r.number); },
        {C(QStringLiteral("path"), tr("文件"), 320)
             .text([](const Row &r) { return r.path; })
             .tip([](const Row &r) { return r.whole; })
             .stretch(),
         C(QStringLiteral("what"), tr("差异"), 150).text([](const Row &r) { return r.what; }).tint(tint).atLeast(120)},
        this);
    TablePage::Look look;
    look.accessible = tr("差异列表");
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = tr("没有差异");
    look.refresh = look.bar = look.columns = false;
    auto *table = new TablePage(look, m_model, this);
    table->build();
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    content()->addWidget(m_state);
    content()->addWidget(table, 1);
    m_send = addButton(tr("补传到云盘"), Left, [this] { mend(true); });
    m_fetch = addButton(tr("补下到本机"), Left, [this] { mend(false); });
    m_run = addButton(tr("停止"), Plain, [this] {
        if (m_check->status().over)
            begin();
        else
            m_check->stop();
    });
    addButton(tr("关闭"), Close);
    setWanted({620, 320});
    begin();
}

QString CheckTree::state() const { return m_state->text(); }

void CheckTree::begin()
{
    m_read = 0;
    m_fresh.clear();
    m_model->setRows({});
    setError({});
    m_check = DriveCheck::start(m_place, {m_pair});
    m_look.start(LookMs, this);
    follow();
}

void CheckTree::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_look.timerId())
        follow();
    else
        DialogFrame::timerEvent(event);
}

void CheckTree::follow()
{
    const DriveCheck::Status status = m_check->status();
    fill();
    tell(status);
    setBusy(status.mend == DriveCheck::Mend::Runs, tr("正在加入传输列表…"));
    if (status.mend == DriveCheck::Mend::Done && !status.batches.isEmpty()) {
        m_look.stop();
        emit mended();
        close();
        return;
    }
    if (status.over && status.mend != DriveCheck::Mend::Runs && m_fresh.isEmpty() &&
        m_read >= qMin<qlonglong>(status.different, DriveCheck::MostKept))
        m_look.stop();
}

void CheckTree::tell(const DriveCheck::Status &status)
{
    QStringList words{(status.over ? tr("已比较 %1 个文件，%2 个不同") : tr("正在校验：已比较 %1 个文件，%2 个不同"))
                          .arg(count(status.files), count(status.different))};
    if (status.sizeOnly > 0)
        words << tr("%1 个文件云盘没有提供校验值，只比较了大小").arg(count(status.sizeOnly));
    if (status.different > DriveCheck::MostKept)
        words << tr("列表只显示前 %1 项，补传和补下包括全部").arg(count(DriveCheck::MostKept));
    m_state->setText(words.join(QLatin1Char('\n')));
    if (status.mend == DriveCheck::Mend::Failed)
        setError(tr("传输无法保存"));
    else if (status.over && !status.whole)
        setError(status.why.isEmpty() ? tr("校验没有完成") : DriveText::clean(status.why));
    const bool rests = status.over && status.mend != DriveCheck::Mend::Runs;
    m_send->setEnabled(rests && status.toSend > 0 && UserInfo::canUpload() && m_place.fileType == DriveRest::Input);
    m_fetch->setEnabled(rests && status.toFetch > 0 && UserInfo::perm(DownloadRight));
    m_send->setToolTip(tr("%1 项仅在本地或两边不同").arg(count(status.toSend)));
    m_fetch->setToolTip(tr("%1 项仅在云盘或两边不同").arg(count(status.toFetch)));
    m_run->setText(status.over ? tr("重新校验") : tr("停止"));
}

void CheckTree::fill()
{
    QElapsedTimer clock;
    clock.start();
    if (m_fresh.isEmpty()) {
        const QList<DriveCheck::Difference> more = m_check->differences(m_read, Piece);
        for (const DriveCheck::Difference &one : more) {
            const bool below = one.dpath.startsWith(m_pair.dpath + QLatin1Char('/'));
            m_fresh << Row{m_read++, DriveText::clean(below ? one.dpath.mid(m_pair.dpath.size() + 1) : one.dpath),
                           one.lpath + QLatin1Char('\n') + one.dpath, DriveCheck::text(one.what)};
        }
    }
    while (!m_fresh.isEmpty() && clock.elapsed() < FillMs)
        m_model->put(m_fresh.takeFirst());
}

void CheckTree::mend(bool toDrive)
{
    m_check->mend(toDrive);
    m_look.start(LookMs, this);
    follow();
}
