#pragma once
// A business server that answers as a test says, the client's link past its login, a desk, and a page over it.
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "support/TestMain.h"
#include "task/TaskDesk.h"
#include "view/task/History.h"
#include "view/task/Mission.h"
#include "view/ViewRig.h"
#include <QAction>

inline QJsonObject taskRow(int id, int stage, int status, const QJsonObject &more = {})
{
    QJsonObject row{{"id", id},
                    {"name", QString("shot_%1.ma").arg(id)},
                    {"num", QString("2026%1").arg(id)},
                    {"project", "film"},
                    {"farmId", 3},
                    {"stage", stage},
                    {"status", status},
                    {"totalFrame", 100},
                    {"successFrame", 40},
                    {"failureFrame", 1},
                    {"renderingFrame", 2},
                    {"untreatedFrame", 57},
                    {"cost", "12.50"},
                    {"succSeconds", 2400},
                    {"totalSeconds", 1300},
                    {"frames", "1-100"},
                    {"submitTime", "2026-11-21 10:00:00"},
                    {"confirmTime", "2026-11-21 09:58:00"},
                    {"username", "frieda"}};
    for (auto it = more.begin(); it != more.end(); ++it)
        row[it.key()] = it.value();
    return row;
}

class TaskRig : public QObject
{
public:
    explicit TaskRig(const QJsonArray &denied = {})
    {
        account(77, denied);
        server.answer(10427, [this](const BusinessPeer::Request &) {
            return BusinessPeer::Reply{1042700, {{"pageSize", pages}, {"pageList", rows}}, false};
        });
        server.answer(10502, 1050200,
                      {{"projects", QJsonArray{QJsonObject{{"id", 3}, {"name", "film"}}, QJsonObject{{"id", 4}, {"name", "ad & co"}}}}});
        server.answer(11111, 1111100, {{"rows", QJsonArray{QJsonObject{{"id", 77}, {"name", "frieda"}}}}});
        linked = server.takeClient();
    }
    ~TaskRig() override
    {
        page.reset();
        desk.reset();
        NetTcp::instance()->setLogin(false);
        Background::finish();
    }
    // The page as the user sees it, with its first answer.
    template <class Page> bool show()
    {
        page.reset(new Page(desk.data(), nullptr));
        page->resize(1400, 600);
        page->setDelay(0);
        page->show();
        activate(page.data());
        return linked && comes([this] { return server.count(10427) > 0 && page->model()->rowCount() == rows.size(); });
    }
    void select(QStringList keys) { page->table()->view()->select(keys); }
    QAction *action(const char *id) const { return page->table()->acts()->action(id); }
    QString cell(const char *key, const char *column, int role = Qt::DisplayRole) const
    {
        return page->model()->indexOf(key, page->model()->columnOf(column)).data(role).toString();
    }
    QRect rectOf(const char *key, const char *column) const
    {
        return page->table()->view()->visualRect(page->model()->indexOf(key, page->model()->columnOf(column)));
    }
    bool refreshed() // asked once more and answered
    {
        const int before = server.count(10427);
        page->getMission();
        return comes([=] { return server.count(10427) > before; }) && comes([this] { return page->answered(); });
    }
    // What was due by now has gone out: a question of another kind, asked behind it, has arrived.
    bool overtaken()
    {
        const int before = server.count(10502);
        QTimer::singleShot(1, this, [] { NetTcp::instance()->nvds(105, 10502, QJsonObject()); });
        return comes([=] { return server.count(10502) > before; });
    }

    BusinessPeer server;
    QJsonArray rows;
    QJsonValue pages = 1;
    QScopedPointer<TaskDesk> desk{new TaskDesk};
    QScopedPointer<BaseMission> page;
    bool linked = false;
};
