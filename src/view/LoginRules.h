#pragma once
// What the login decides, as pure functions: no window, no network. Main thread or any.
#include <QJsonObject>
#include <QString>
#include <QUrl>

namespace LoginRules
{
// Address of the login page: the login base with the path /xclient/loginPage. A query of the base is kept in front;
// then "version=qn", and "en=true" where the language is English.
QUrl pageUrl(const QString &base, const QString &language);

struct Marks {
    bool rememberPsd = false, autoLogin = false;
};
// The stored record as the page gets it: without a "password" key it's given an empty one and both marks off. marks
// takes what is stored; with autoRelogin both read "true" in the result, so that the page logs in at once.
QString infosForPage(const QString &stored, bool autoRelogin, Marks *marks);
// What the page saved, ready for the store: with autoRelogin the two marks are put back to what they were.
// False when the page told a failure (failNum isn't 0): nothing is to follow.
bool infosFromPage(const QString &saved, bool autoRelogin, const Marks &marks, QString *info);

// Effects of a re-login. Reasons: 110 by hand, 111 changed password, 112 link lost, 1000100 to 1000102 of the server.
struct Relogin {
    bool automatic = false; // window, queues and stores stay; the login repeats unattended
    int changeUser = 0;     // what the page is told
    bool forgetDrives = false;
    bool showText = false; // the reason's text is shown, without blocking
};
Relogin relogin(int reason);

// 10309's body: empty, or a subordinate seat's wish to have its results pushed to the master's account.
QJsonObject confirmBody(bool slave, int masterUserId);
} // namespace LoginRules
