#include "view/task/Preview.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include <algorithm>
#include <QComboBox>

namespace
{
constexpr int DiskMs = 5000; // between two looks at what has come meanwhile
}

PreviewQN *PreviewQN::open(QWidget *over, const PreviewTask &task, const SubTask &sub)
{
    PreviewQN *view = task.mode == SubPicture::Link ? new Preview(over, task, sub) : new PreviewQN(over, task, sub);
    view->setAttribute(Qt::WA_DeleteOnClose);
    static_cast<QWidget *>(view)->show();
    view->begin();
    return view;
}

PreviewQN::PreviewQN(QWidget *over, const PreviewTask &task, const SubTask &sub)
    : FrameView(over), m_task(task), m_sub(sub)
{
    const QString split = sub.split(task.software);
    setSubject(split.isEmpty() ? task.name : QStringLiteral("%1 - %2").arg(task.name, split));
    if (task.mode == SubPicture::Index && task.pictures > 1) {
        m_index = new QComboBox;
        for (int i = 1; i <= task.pictures; ++i)
            m_index->addItem(tr("图片 %1/%2").arg(i).arg(task.pictures));
        m_index->setAccessibleName(tr("第几张图片"));
        connect(m_index, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &FrameView::forgetFetched);
        addToBar(m_index);
    }
}

void PreviewQN::begin()
{
    FrameSequence frames;
    for (const SubTask &row : qAsConst(m_task.rows))
        if (row.split(m_task.software) == m_sub.split(m_task.software))
            frames.ordered << row.first;
    frames.ordered << m_sub.first;
    std::sort(frames.ordered.begin(), frames.ordered.end());
    frames.ordered.erase(std::unique(frames.ordered.begin(), frames.ordered.end()), frames.ordered.end());
    setFetch([this](int number) { fetch(number); });
    setFrames(frames, m_sub.first);
    lookAtDisk();
    auto *again = new QTimer(this);
    connect(again, &QTimer::timeout, this, [this] {
        if (isVisible() && !isMinimized() && !sequence().missing().isEmpty())
            lookAtDisk();
    });
    again->start(6 * DiskMs);
}

// Of several rows of one frame (it was rendered once more) the newest that has an end.
const SubTask *PreviewQN::rowOf(int number) const
{
    const SubTask *best = nullptr;
    const QString split = m_sub.split(m_task.software);
    if (m_sub.first == number)
        return &m_sub;
    for (const SubTask &row : m_task.rows)
        if (row.first == number && row.split(m_task.software) == split &&
            (!best || (row.status == SubTask::Done && best->status != SubTask::Done) ||
             row.startTime > best->startTime))
            best = &row;
    return best;
}

void PreviewQN::fetch(int number)
{
    const SubTask *row = rowOf(number);
    if (!row)
        return refuse(number, tr("第 %1 帧还没有").arg(number));
    const SubPicture::Of of = ofRow(*row);
    auto *picture = new SubPicture(of);
    const auto current = [this, asked = of.index] { return index() == asked; };
    connect(picture, &SubPicture::progress, this, [=](qint64 got, qint64 all) {
        if (current())
            tell(number, progressText(got, all));
    });
    connect(picture, &SubPicture::waiting, this, [=](const QString &why) {
        if (current())
            tell(number, why);
    });
    connect(picture, &SubPicture::arrived, this, [=](const QString &file) {
        if (current())
            give(number, file);
    });
    connect(picture, &SubPicture::failed, this, [=](const QString &why) {
        if (current())
            refuse(number, why);
    });
    picture->start();
}

int PreviewQN::index() const { return m_index ? m_index->currentIndex() : 0; }

SubPicture::Of PreviewQN::ofRow(const SubTask &row) const
{
    return {m_task.id, row.id, row.version, index(), m_task.mode};
}

// From disk, unless it's another rendering of the frame that is looked at; else what the farm gives of it.
void PreviewQN::compareFrame(const SubTask &other)
{
    const bool same = other.first == m_sub.first && other.split(m_task.software) == m_sub.split(m_task.software);
    const auto fromFarm = [this, other] {
        auto *picture = new SubPicture(ofRow(other));
        connect(picture, &SubPicture::arrived, this, [this](const QString &file) { compareWith(file, true); });
        connect(picture, &SubPicture::failed, this, [this](const QString &why) { MsgTool::msgOk(this, why); });
        picture->start();
    };
    if (same)
        return fromFarm();
    auto *frames = new SubFrames(m_task.id);
    connect(frames, &SubFrames::found, this, [=](const QString &, const QList<FrameSeries> &all) {
        const int at = SubFrames::seriesOf(all, other.first, other.split(m_task.software));
        const QString file = at < 0 ? QString() : all.at(at).files.value(other.first);
        if (file.isEmpty())
            fromFarm();
        else
            compareWith(file, true);
    });
    connect(frames, &SubFrames::failed, this, fromFarm);
    frames->start();
}

QString PreviewQN::progressText(qint64, qint64) const { return tr("读取中 ..."); }
QString Preview::progressText(qint64 got, qint64 all) const
{
    return tr("读取中 ...") + QStringLiteral(" %1/%2").arg(got).arg(all);
}

void PreviewQN::lookAtDisk()
{
    auto *frames = new SubFrames(m_task.id);
    connect(frames, &SubFrames::found, this, [this](const QString &, const QList<FrameSeries> &all) { found(all); });
    frames->start();
}

void PreviewQN::found(const QList<FrameSeries> &all)
{
    const int at = SubFrames::seriesOf(all, number(), m_sub.split(m_task.software));
    if (at < 0)
        return;
    FrameSequence frames = sequence();
    const FrameSeries &series = all.at(at);
    if (frames.files == series.files && frames.ordered == series.frames)
        return;
    frames.files = series.files;
    for (int number : series.frames)
        if (!std::binary_search(frames.ordered.cbegin(), frames.ordered.cend(), number))
            frames.ordered.insert(std::upper_bound(frames.ordered.begin(), frames.ordered.end(), number), number);
    setFrames(frames, number());
}

void PreviewQN::showImage(const QString &path, const QByteArray &data)
{
    if (!path.isEmpty())
        return give(number(), path);
    Background::run(
        this,
        [data] {
            const QString file = QStringLiteral("%1/preview_%2").arg(UserInfo::tempDir()).arg(qHash(data));
            return VFunc::writeWhole(file, data) ? file : QString();
        },
        [this, number = number()](const QString &file) {
            if (file.isEmpty())
                refuse(number, tr("图片无法预览"));
            else
                give(number, file);
        });
}
