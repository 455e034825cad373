// Routes that speak of the frames of a task.
#include "common/facts/Command.h"
#include "io/Ask.h"
#include "io/local/CmdHand.h"
#include "task/SubLog.h"
#include "task/SubPicture.h"
#include "task/SubTask.h"
#include "task/TaskHands.h"
#include <algorithm>
#include <atomic>

namespace
{
constexpr qint64 PieceBytes = 64 * 1024;
constexpr int LogMs = 2000;      // between two looks at a log that grows
constexpr int MostFailures = 30; // of a log, in a row
constexpr int StateEvery = 5;    // ... and the frame's state by each of these
constexpr int MostPages = 200;   // of frames that render at one time

QByteArray compact(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QStringList textsOf(const QList<qlonglong> &ids)
{
    QStringList texts;
    for (qlonglong id : ids)
        texts << QString::number(id);
    return texts;
}
} // namespace

void CmdHand::subjobList()
{
    withTasks([this](const QStringList &missions) {
        forward(Command::SubTasks, compact(SubAsk::list(missions.first(), m_line.arg("status", "-1").toInt(),
                                                        m_line.arg("page").toInt())));
    });
}

void CmdHand::withSubJobs(std::function<void(const QString &, const QList<qlonglong> &)> next)
{
    bool tooLong = false;
    const QList<qlonglong> ids = m_line.numbers("subjobId", "subjobIds", &tooLong);
    if (tooLong)
        fail(tr("一次最多处理%1个").arg(CmdLine::MaxList));
    else if (ids.isEmpty())
        fail(tr("没有相关子任务"));
    else
        withTasks([=](const QStringList &missions) { next(missions.first(), ids); });
}

void CmdHand::subjobCancel()
{
    withSubJobs([this](const QString &mission, const QList<qlonglong> &ids) {
        QList<QJsonObject> bodies;
        SubTask sub;
        sub.jobId = m_line.arg("jobId", "0");
        sub.farmId = m_line.arg("farmId").toInt();
        for (qlonglong id : ids) {
            sub.id = QString::number(id);
            bodies << SubAsk::cancel(mission, sub);
        }
        askEach(Command::CancelSubTask, bodies, [=](int val, const QVector<Answer> &answers) {
            QJsonArray all;
            for (int i = 0; i < answers.size(); ++i)
                all.append(QJsonObject{{"subjobId", ids[i]}, {"code", answers[i].val}});
            over(val, textOf(val), all, isGood(Command::CancelSubTask, val));
        });
    });
}

void CmdHand::subjobRerender()
{
    withSubJobs([this](const QString &mission, const QList<qlonglong> &ids) {
        forward(Command::RerenderSubTask, compact(SubAsk::chosen(mission, textsOf(ids))));
    });
}

// Without follow= where the log lies; with it the log itself, as it stands (0) or until the frame has ended (1).
void CmdHand::subjobLog()
{
    withSubJobs([this](const QString &mission, const QList<qlonglong> &ids) {
        if (m_line.has("follow"))
            return followLog(mission, ids.first(), m_line.arg("follow") != "0");
        QJsonObject body = SubAsk::one(mission, QString::number(ids.first()));
        if (const int farm = m_line.arg("farmId").toInt(); farm > 0)
            body["farmId"] = farm;
        forward(Command::TaskLog, compact(body));
    });
}

void CmdHand::followLog(const QString &mission, qlonglong id, bool follow)
{
    static std::atomic_int streams{0};
    m_only = true;
    const QString task = mission, sub = QString::number(id);
    QString file = SubLog::fileOf(task, sub);
    file.insert(file.size() - 4, QStringLiteral("_api%1").arg(++streams));
    auto *log = new SubLog({task, sub, m_line.arg("farmId").toInt(), {}, {}}, file, this);
    connect(log, &SubLog::grown, this, [this, file](qint64 size) {
        if (size > 0 && !m_stream)
            streamFile(file, "text/plain; charset=utf-8", true);
        fileGrown();
    });
    // A render that began anew writes from its front: what was sent of the old one stays sent.
    connect(log, &SubLog::anew, this, [this] {
        if (m_stream)
            m_stream->file.seek(0);
    });
    const auto rounds = std::make_shared<int>(0), failures = std::make_shared<int>(0);
    const auto last = std::make_shared<bool>(!follow);
    connect(log, &SubLog::fetched, this, [=](qint64 size, const QString &why, int runs) {
        if (!why.isEmpty() && !m_stream && (size == 0 || !follow))
            return fail(why);
        if (!m_stream && *last)
            streamFile(file, "text/plain; charset=utf-8", true); // an empty log is a log
        *failures = why.isEmpty() ? 0 : *failures + 1;
        if (*last || *failures > MostFailures)
            return endStream(why.isEmpty());
        const auto again = [=] { QTimer::singleShot(*last ? 0 : LogMs, log, &SubLog::more); };
        *last = runs == 0; // once more for the last lines
        if (runs >= 0 || (*rounds)++ % StateEvery != 0)
            return again();
        lookAtSubJob(mission, id, 0, [=](bool still) {
            *last = !still;
            again();
        });
    });
    log->more();
}

// Among those that render now: they are few, however many frames a task has.
void CmdHand::lookAtSubJob(const QString &mission, qlonglong sub, int page, std::function<void(bool)> next)
{
    Ask(Command::SubTasks, SubAsk::list(mission, SubTask::Rendering, page))
        .within(m_waitMs)
        .answered([=](int, const QJsonDocument &doc) {
            const SubList list = SubList::from(doc.object(), false);
            const bool here = std::any_of(list.rows.cbegin(), list.rows.cend(),
                                          [=](const SubTask &one) { return one.id == QString::number(sub); });
            if (here || list.rows.isEmpty() || page + 1 >= qMin(list.pages, MostPages))
                next(here);
            else
                lookAtSubJob(mission, sub, page + 1, next);
        })
        .failed([next] { next(true); }) // nobody knows: the log goes on
        .send(this);
}

void CmdHand::streamFile(const QString &path, const QByteArray &contentType, bool removed)
{
    m_stream = std::make_unique<Streaming>();
    m_stream->file.setFileName(path);
    m_stream->removed = removed;
    if (!m_stream->file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        m_stream.reset();
        return fail(tr("文件打开失败"));
    }
    m_over = true; // no other answer
    emit streamBegins(contentType);
}

void CmdHand::fileGrown()
{
    if (!m_stream || !m_stream->asked)
        return;
    const QByteArray piece = m_stream->file.read(PieceBytes);
    if (!piece.isEmpty()) {
        m_stream->asked = false;
        emit streamPiece(piece);
    } else if (m_stream->ending) {
        emit streamOver(true);
        deleteLater();
        m_stream.reset();
    }
}

void CmdHand::callerGone()
{
    if (m_only)
        deleteLater();
}

void CmdHand::pieceTaken()
{
    if (!m_stream)
        return;
    m_stream->asked = true;
    fileGrown();
}

void CmdHand::endStream(bool whole)
{
    if (!m_stream)
        return;
    if (!whole) {
        emit streamOver(false);
        m_stream.reset();
        deleteLater();
        return;
    }
    m_stream->ending = true;
    fileGrown();
}

CmdHand::Streaming::~Streaming()
{
    if (removed)
        file.remove();
}

// The picture's bytes, as the farm has them.
void CmdHand::subjobPreview()
{
    withSubJobs([this](const QString &mission, const QList<qlonglong> &ids) {
        const QString task = mission, sub = QString::number(ids.first());
        const bool byIndex = m_line.has("index");
        m_only = true;
        auto *picture = new SubPicture(
            {task, sub, QJsonValue(), m_line.arg("index").toInt(), byIndex ? SubPicture::Index : SubPicture::Stream});
        connect(picture, &SubPicture::failed, this, [this](const QString &why) { fail(why); });
        connect(picture, &SubPicture::arrived, this, [this](const QString &file) {
            const QString ending = file.section(QLatin1Char('.'), -1);
            const QString type = ending == "jpg"   ? QStringLiteral("jpeg")
                                 : ending == "exr" ? QStringLiteral("x-exr")
                                                   : ending;
            streamFile(file, "image/" + type.toLatin1(), true);
            endStream(true);
        });
        picture->start();
    });
}

// cover: 0 all (unless told otherwise), 1 only those that aren't here.
void CmdHand::subjobDownload()
{
    withSubJobs([this](const QString &mission, const QList<qlonglong> &ids) {
        const int cover = m_line.arg("cover").toInt() == 1 ? 1 : 0;
        QString fault;
        if (TaskHands::downloadSubs(mission, textsOf(ids), cover, &fault))
            good(tr("已加入下载队列"));
        else
            fail(fault);
    });
}

void CmdHand::subjobStatus()
{
    QJsonArray all;
    int state = SubTask::All;
    for (const QString &name : SubTask::stateChoices())
        all.append(QStringLiteral("%1:%2").arg(state++).arg(name));
    good(QString(), all);
}
