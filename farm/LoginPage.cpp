#include "Rest.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace farm
{

namespace
{
const char *const style = R"css(
* { box-sizing: border-box; }
html, body { margin: 0; height: 100%; background: #282828; color: #ccc; font: 12px "Microsoft Yahei", "Noto Sans CJK SC", sans-serif; }
.box { width: 280px; margin: 0 auto; padding-top: 48px; }
h1 { margin: 0 0 4px; font-size: 12px; font-weight: bold; }
.quiet { color: #8a8a8a; margin: 0 0 24px; line-height: 20px; }
label { display: block; margin: 16px 0 8px; color: #8a8a8a; }
input[type=text], input[type=password] { width: 100%; height: 28px; padding: 0 8px; border: 1px solid #3a3a3a; border-radius: 2px;
  background: #323232; color: #ccc; font: inherit; outline: none; }
input[type=text]:focus, input[type=password]:focus { border-color: #4b96ea; }
.ticks { margin: 16px 0 24px; height: 20px; line-height: 20px; }
.ticks label { display: inline-block; margin: 0 24px 0 0; color: #ccc; }
.ticks input { vertical-align: middle; margin: 0 8px 0 0; }
button { width: 100%; height: 28px; border: 1px solid #4b96ea; border-radius: 2px; background: #4b96ea; color: #fff; font: inherit; cursor: pointer; }
button:hover, button:focus { background: #5ba3f2; outline: none; }
button[disabled] { background: #3a3a3a; border-color: #3a3a3a; color: #8a8a8a; cursor: default; }
#message { min-height: 40px; margin: 16px 0 0; line-height: 20px; color: #8a8a8a; }
#message.bad { color: #e94b5a; }
p { line-height: 20px; }
)css";

// "Login" is what the client puts into the window; in another browser it isn't there, and the page only tells how the
// login went. A stored record fills the fields in; it is used unattended when it says so, or when the page was asked
// to.
const char *const script = R"js(
(function () {
  var client = window.Login, fails = 0, busy = false, unattended = false;
  function by(id) { return document.getElementById(id); }
  function say(text, bad) { by('message').innerHTML = ''; by('message').appendChild(document.createTextNode(text)); by('message').className = bad ? 'bad' : ''; }
  function stored() {
    if (!client) return {};
    try { return JSON.parse(client.loadUserInfos() || '{}') || {}; } catch (e) { return {}; }
  }
  function isTrue(value) { return value === true || value === 'true'; }
  function record(failNum) {
    var keep = by('remember').checked;
    return JSON.stringify({ failNum: failNum, username: by('username').value, password: keep ? by('password').value : '',
      rememberPsd: keep ? 'true' : 'false', autoLogin: by('autologin').checked ? 'true' : 'false' });
  }
  function finished(answer) {
    busy = false;
    by('enter').disabled = false;
    if (!answer || answer.result !== 1) {
      fails += 1;
      say(answer && answer.msg ? answer.msg : words.unreachable, true);
      if (client) client.saveUserInfos(record(fails));
      if (!answer && unattended) setTimeout(enter, 3000);
      return;
    }
    if (!client) { say(words.nowhere.replace('%1', answer.username), false); return; }
    say(words.entering, false);
    client.setAuth(answer.token);
    client.saveUserInfos(record(0));
  }
  function enter() {
    if (busy) return;
    if (!by('username').value) { say(words.noname, true); by('username').focus(); return; }
    busy = true;
    by('enter').disabled = true;
    say(words.asking, false);
    var ask = new XMLHttpRequest();
    ask.open('POST', '/xclient/login', true);
    ask.setRequestHeader('Content-Type', 'application/json');
    ask.onreadystatechange = function () {
      if (ask.readyState !== 4) return;
      var answer = null;
      try { answer = ask.status === 200 ? JSON.parse(ask.responseText) : null; } catch (e) { answer = null; }
      finished(answer);
    };
    ask.send(JSON.stringify({ sessionId: client ? client.getSessionId() : '', username: by('username').value, password: by('password').value }));
  }
  var info = stored(), another = client && client.isChangeUser && client.isChangeUser() === 1;
  by('username').value = info.username || demo.username;
  by('password').value = info.password || (!info.username || info.username === demo.username ? demo.password : '');
  by('remember').checked = info.rememberPsd === undefined ? true : isTrue(info.rememberPsd);
  by('autologin').checked = isTrue(info.autoLogin);
  by('autologin').onchange = function () { if (by('autologin').checked) by('remember').checked = true; };
  by('remember').onchange = function () { if (!by('remember').checked) by('autologin').checked = false; };
  by('form').onsubmit = function () { enter(); return false; };
  if (!client) say(words.browser, false);
  unattended = by('password').value && (automatic || (isTrue(info.autoLogin) && !another));
  if (unattended) enter();
  else by(by('username').value ? 'password' : 'username').focus();
}());
)js";

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace("</", "<\\/");
}

QByteArray html(const QString &text) { return text.toHtmlEscaped().toUtf8(); }
} // namespace

QByteArray loginPageText(const QString &user, const QString &password, bool english, bool automatic)
{
    const auto pick = [english](const char *chinese, const char *other) {
        return QString::fromUtf8(english ? other : chinese);
    };
    const QJsonObject words{
        {"unreachable", pick("无法连接农场，请稍后再试", "The farm can't be reached, try again in a moment")},
        {"nowhere",
         pick("%1 登录成功。请在客户端中打开此页面。", "%1 is logged in. Open this page in the client to go on.")},
        {"entering", pick("登录成功，正在进入…", "Logged in, opening the client ...")},
        {"noname", pick("请输入账号", "Enter the account")},
        {"asking", pick("正在登录…", "Logging in ...")},
        {"browser", pick("此页面不在客户端中，登录只作测试。",
                         "This page isn't inside the client: logging in here is only a test.")}};
    QByteArray page = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + html(pick("登录", "Log in")) +
                      "</title><style>" + style + "</style></head><body><form id=\"form\" class=\"box\">\n";
    page += "<h1>" + html(pick("本机渲染农场", "Local render farm")) + "</h1><div class=\"quiet\">" +
            html(pick("演示账号已填好", "The demo account is filled in")) + "</div>\n";
    page += "<label for=\"username\">" + html(pick("账号", "Account")) +
            "</label><input id=\"username\" type=\"text\" autocomplete=\"off\">\n";
    page += "<label for=\"password\">" + html(pick("密码", "Password")) +
            "</label><input id=\"password\" type=\"password\">\n";
    page += "<div class=\"ticks\"><label><input id=\"remember\" type=\"checkbox\">" +
            html(pick("记住密码", "Remember me")) + "</label>" + "<label><input id=\"autologin\" type=\"checkbox\">" +
            html(pick("自动登录", "Log in by itself")) + "</label></div>\n";
    page += "<button id=\"enter\" type=\"submit\">" + html(pick("登录", "Log in")) +
            "</button><div id=\"message\"></div></form>\n<script>\n";
    page += "var automatic = " + QByteArray(automatic ? "true" : "false") + ", words = " + json(words) +
            ", demo = " + json({{"username", user}, {"password", password}}) + ";" + script +
            "</script></body></html>\n";
    return page;
}

QByteArray simplePageText(const QString &title, const QStringList &lines)
{
    QByteArray page = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + html(title) + "</title><style>" +
                      style + "</style></head><body><div class=\"box\"><h1>" + html(title) + "</h1>\n";
    for (const QString &line : lines)
        page += "<p>" + html(line) + "</p>\n";
    return page + "</div></body></html>\n";
}

} // namespace farm
