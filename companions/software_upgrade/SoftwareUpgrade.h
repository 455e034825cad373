#pragma once
// One run: which versions are on offer, or the fetching of one of them. Words, in this order:
//   windows|linux VERSION FOLDER MODE [-proxy HOST PORT] [fetch SOFTWAREID VERSION]
// VERSION is the client's, FOLDER holds what is fetched (FOLDER/packages), MODE names the list ("prod"). The server is
// `update` of the service.ini beside this program. Answers are lines of JSON on standard output:
//   {"success": true, "isAll": 0 | 1, "versions": [entries as in package/Feed.h]}            what is on offer
//   {"softwareId", "version", "got", "size"}                                     while fetching, a few times a second
//   {"success": true, "softwareId", "version", "file"}                           fetched, its signature is good
//   {"success": false, "msg": why}
#include "package/Feed.h"
#include <QStringList>

class SoftwareUpgrade
{
public:
    explicit SoftwareUpgrade(const QStringList &words);
    int run(); // 0 answered with success, 1 not, 2 wrong words

private:
    int offers();
    int fetch();
    bool readFeed();
    bool get(const QString &below, const QString &file, qint64 most, bool tell);
    int answer(QJsonObject line, bool good) const;
    int refuse(const QString &why) const;

    QString m_platform, m_client, m_folder, m_mode, m_proxyHost, m_id, m_version, m_why;
    int m_proxyPort = 0;
    bool m_good = false, m_fetch = false;
    Feed m_feed;
};
