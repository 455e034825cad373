#pragma once
// Stands for the main window: keeps what the engine tells it. Lives on the test's thread.
#include "common/Seam.h"
#include "common/WindowCalls.h"
#include <QObject>
#include <QStringList>

class WindowSpy : public QObject, public WindowCalls
{
public:
    WindowSpy() { Seam<WindowCalls>::attach(this, this); }
    ~WindowSpy() override { Seam<WindowCalls>::detach(this); }
    QStringList messages, infos, roots, asked, covers, spaces, tips;
    QList<int> connected;
    int rootKind = -1;
    void msgOk(const QString &text) override { messages << text; }
    void showInfoMsg(const QString &, const QString &text) override { infos << text; }
    void rootMsg(const QString &text, int kind, int, int) override { roots << text, rootKind = kind; }
    void confirmRoot(const QString &root, const QString &task) override { asked << root + '|' + task; }
    void connectDAOView(int type) override { connected << type; }
    void downCover(int, const QString &text) override { covers << text; }
    void downSpace(const QString &root) override { spaces << root; }
    void downErrorTip(const QString &text) override { tips << text; }
    void redPoint() override {}
    void refreshOrder() override {}
    QList<QJsonObject> orders;
    void envpre(const QJsonObject &order) override { orders << order; }
};
