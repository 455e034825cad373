#pragma once
// Errors of the network in the user's language, by the toolkit's numbers. A number that isn't known reads "网络错误".
#include <QString>

class NetTexts
{
public:
    static QString socket(int error); // QAbstractSocket::SocketError
    static QString reply(int error);  // QNetworkReply::NetworkError
};
