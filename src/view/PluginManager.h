#pragma once
// The page "插件管理": the menus inside the 3D software of this machine, each with its state; lays them down, repairs
// and removes them. The disk is looked at and written away from the window; a folder of the system that this user can't
// write goes through an elevated run of the client where there is one. Main thread.
#include "common/ui/BaseWidget.h"
#include "common/ui/kit/RecordModel.h"
#include "view/PluginPlaces.h"
#include <functional>

class TablePage;

class PluginManager : public BaseWidget
{
    Q_OBJECT
public:
    explicit PluginManager(QWidget *parent = nullptr);
    TablePage *table() const { return m_table; }
    static QString stateText(const PluginPlace &place);

public slots:
    void refresh();
    void repairPlugin(); // all that are installed and not as they should be

private:
    using Deed = std::function<QString(const PluginPlace &)>; // what went wrong, empty: nothing
    void makeActs();
    void run(const QList<PluginPlace> &places, Deed deed);
    static QString install(const PluginPlace &place);

    RecordModel<PluginPlace> *m_model;
    TablePage *m_table;
};
