#pragma once
// Which tasks a page shows: search text, four menus, sorting; what the server is asked for it, and how it's kept. A
// value; any thread.
#include <QJsonObject>
#include <QPair>
#include <QStringList>
#include <QVector>

struct TaskMenu {
    QString all;                              // value of its first entry "全选"
    QVector<QPair<QString, QString>> entries; // value, words; without the first
    QStringList chosen;                       // values, the first entry's too where it's ticked

    bool narrowed() const; // some but not all are chosen
    // As a click does: the first entry takes all with it and goes when one of them goes.
    void toggle(const QString &value);
    void setEntries(const QVector<QPair<QString, QString>> &list); // what is chosen stays, also where it's gone
    QJsonArray values() const;                                     // what's sent; empty: nothing
};

struct TaskFilter {
    enum Page { Live, Old };
    enum Sort { None = 0, ByName = 1, ByTime = 8 };
    explicit TaskFilter(Page page = Live);

    TaskMenu project, status, user, remark;
    QString name;
    int sort = None;
    bool down = false;
    Page page = Live;

    QJsonObject request(int pageNumber) const; // body of 10427
    bool narrowed() const;
    void clear();              // all menus; the search stays
    QJsonObject saved() const; // what of it is kept: the menus' choices with their words
    void restore(const QJsonObject &saved);
    static constexpr int PageRows = 20;
};
