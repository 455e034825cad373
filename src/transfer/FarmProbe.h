#pragma once
// Asks for a farm's address and token, or for its file server, on a pool thread of its own: the REST client waits in a
// nested event loop, which must not run inside a handler's scan. Answers through TransShare, then deletes itself.
#include "transfer/TransShare.h"
#include <memory>
#include <QObject>

class FarmProbe : public QObject
{
    Q_OBJECT
public:
    using Drive = std::function<void(TransHandler &, QString url, QString token)>;
    using Server = std::function<void(TransHandler &, QString host, int port)>;
    static void askDrive(std::shared_ptr<TransShare> share, int farmId, Drive answer);
    static void askServer(std::shared_ptr<TransShare> share, int farmId, Server answer);
};
