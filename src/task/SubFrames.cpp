#include "task/SubFrames.h"
#include "common/facts/Command.h"
#include "common/ResultPath.h"
#include "common/ThreadPool.h"

#include "io/Ask.h"
#include "task/Cell.h"
#include "task/SubTask.h"
#include "transfer/down/MissionBuilder.h"
#include <algorithm>
#include <QJsonArray>
#include <QRegularExpression>

namespace
{
bool isPicture(const QString &path)
{
    static const QRegularExpression ending(QStringLiteral("\\.(png|jpe?g|tiff?|exr|tga|hdr|bmp|webp|gif|psd)$"),
                                           QRegularExpression::CaseInsensitiveOption);
    return ending.match(path).hasMatch();
}

// "cam/shot.0007.exr" is of "cam/shot.exr".
QString seriesName(const QString &path)
{
    static const QRegularExpression number(QStringLiteral("[._-]?-?\\d+(?=\\.[^./\\d][^./]*$)"));
    QString name = path;
    return name.remove(number);
}
} // namespace

SubFrames::SubFrames(const QString &task) : m_task(task)
{
    qRegisterMetaType<QList<FrameSeries>>("QList<FrameSeries>");
}

void SubFrames::start()
{
    ThreadPool::instance()->addWork(this);
    QMetaObject::invokeMethod(
        this,
        [this] {
            const auto lose = [this](const QString &why) {
                emit failed(why);
                deleteLater();
            };
            Ask(Command::ResultList, {{"missionId", Cell::idValue(m_task)}})
                .answered([this](int, const QJsonDocument &doc) {
                    QJsonObject reply = doc.object();
                    const QString root = ResultPath::root(reply, false);
                    const QList<FrameSeries> all = series(reply, root);
                    emit found(root, all);
                    deleteLater();
                })
                .refused([lose](int val, const QJsonDocument &) { lose(SubTask::codeText(val)); })
                .lost([lose](Ask::Loss) { lose(tr("服务器没有响应，请检查网络后重试")); })
                .send(this);
        },
        Qt::QueuedConnection);
}

QList<FrameSeries> SubFrames::series(const QJsonObject &reply, const QString &root)
{
    QJsonObject told = reply;
    QJsonArray rows = told.value(QLatin1String("rows")).toArray();
    while (rows.size() > MostRows)
        rows.removeLast();
    told.insert(QStringLiteral("rows"), rows);
    // The farm's name of a row's place, by its id: two series of one task may share their numbers.
    QHash<qint64, QString> names;
    for (const QJsonValue &value : qAsConst(rows)) {
        const QJsonObject row = value.toObject();
        names.insert(Cell::number(row, "id"), Cell::text(row, "path"));
    }
    QMap<QString, FrameSeries> all;
    for (const ResultRow &row : MissionBuilder::rows(told, root.isEmpty() ? QStringLiteral("/nowhere") : root)) {
        const QString path = names.value(row.id);
        if (row.refused || !row.hasFrame || !isPicture(path))
            continue;
        FrameSeries &one = all[seriesName(path)];
        one.name = seriesName(path);
        one.frames << row.frame;
        if (row.exists && !root.isEmpty())
            one.files.insert(row.frame, row.target);
    }
    QList<FrameSeries> out = all.values();
    for (FrameSeries &one : out) {
        std::sort(one.frames.begin(), one.frames.end());
        one.frames.erase(std::unique(one.frames.begin(), one.frames.end()), one.frames.end());
    }
    return out;
}

int SubFrames::seriesOf(const QList<FrameSeries> &all, int frame, const QString &split)
{
    int best = -1, most = 0;
    for (int i = 0; i < all.size(); ++i) {
        const bool named = !split.isEmpty() && all.at(i).name.contains(split, Qt::CaseInsensitive);
        const int fits =
            (named ? 4 : 0) + (all.at(i).files.contains(frame) ? 2 : 0) + (all.at(i).frames.contains(frame) ? 1 : 0);
        if (fits > most) {
            best = i;
            most = fits;
        }
    }
    return best;
}
