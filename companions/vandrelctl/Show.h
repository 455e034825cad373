#pragma once
// What is told: tables and a progress line for people on a terminal, JSON for programs, complaints on the error
// channel. Lines of JSON are written out at once.
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

class Show
{
public:
    explicit Show(bool json) : m_json(json) {}
    ~Show();
    static bool terminal(); // standard output is one
    bool json() const { return m_json; }

    void value(const QJsonValue &value); // as JSON
    // A row for each object, the columns as "key" or "key:Title".
    void table(const QJsonArray &rows, const QStringList &columns);
    // Something moved: on a terminal the line is written over, else it is one JSON line with what and the rest.
    void progress(const QString &what, int done, int total, QJsonObject more = {});
    void station(const QString &what, QJsonObject more = {}); // ... and stays
    void complain(const QString &text);

private:
    void endLine();
    bool m_json, m_open = false;
    QString m_last;
};
