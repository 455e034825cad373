#pragma once
// A drive whose every reply is told by the test.
#include "support/BusinessPeer.h"
#include "support/HttpPeer.h"

struct RestRig {
    BusinessPeer business;
    HttpPeer rest;
    int stale = 0; // answers that say 203 first
    QByteArray body = R"({"code":0,"result":1,"list":[]})";
    RestRig()
    {
        business.takeClient();
        business.answer(11100, 1110000, QJsonObject{{"addr", rest.url()}, {"addr-internal", rest.url()}, {"accessToken", "access"}});
        rest.answer = [this](const HttpPeer::Request &) {
            return HttpPeer::response(stale-- > 0 ? QByteArray(R"({"code":203,"result":0})") : body);
        };
    }
    ~RestRig()
    {
        NetWork::instance()->forgetDrives();
        NetTcp::instance()->setLogin(false);
    }
};
