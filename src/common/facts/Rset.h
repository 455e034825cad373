#pragma once
// What was chosen for a scene before its analysis: the column rset, one JSON object. The one reader and the one writer.
// A value; keys that nobody here knows are kept.
#include <QJsonObject>
#include <QString>

class Rset
{
public:
    Rset() = default;
    explicit Rset(const QString &text); // good() false when it can't be read; an empty text is good and empty
    explicit Rset(const QJsonObject &object) : m_object(object) {}

    // What a user (or a caller of the local API) chose.
    struct Choice {
        int softwareType = 0;
        QJsonObject env, project, machine, config;
        QString mayaProject;
        QString scene;    // its folder is where results go, unless more tells another
        QJsonObject more; // of what a caller sent: the keys that an order takes, see Rset.cpp
    };
    static Rset of(const Choice &choice);

    QString text() const; // compact
    bool good() const { return m_good; }
    const QJsonObject &object() const { return m_object; }
    bool has(const char *key) const { return m_object.contains(QLatin1String(key)); }
    void set(const char *key, const QJsonValue &value) { m_object.insert(QLatin1String(key), value); }

    int softwareType() const;        // 0: not told here, see SoftwareType::ofRow
    QString software() const;        // "maya2016", of the environment
    QJsonArray plugins() const;      // of the row, else of the environment
    int startGpu() const;            // 1: a GPU machine
    QJsonValue machineModel() const; // "" where there is none
    QString mayaProject() const;
    bool isClone() const { return has("hasClone"); } // needs no analysis
    bool needMasterCheck() const;                    // handed over by a seat, waits for the master's user
    qlonglong seatKey() const;                       // rkey on the subordinate seat that handed it over; 0: none
    QString seat() const;                            // that seat's name

private:
    QJsonObject m_object;
    bool m_good = true;
};
