#pragma once
// The page "我的云盘": one tab per farm, a FarmPage behind each that was opened, beside it the drive's transfers and
// the scenes that are analysed on the farm. The server's word (11201) begins it and tells of farms that came, went or
// can't be used any more. Main thread; the account has a drive while offered() is true.
#include "common/ui/BaseWidget.h"
#include "view/driver/FarmTab.h"
#include <memory>
#include <QSet>

class DriveDesk;
class FarmPage;
class QButtonGroup;
class QHBoxLayout;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class TransferD;

class MainDriver : public BaseWidget
{
    Q_OBJECT
public:
    enum Part { Browser, Transfers, Analyses }; // "我的云盘", "传输列表", "解析提交"
    explicit MainDriver(QWidget *parent);
    ~MainDriver() override;

    static bool offered();
    FarmPage *page() const; // of the farm that is seen; null: none
    QList<FarmTab *> tabs() const { return m_tabs; }
    QPushButton *addButton() const { return m_add; }
    void showPart(int part);
    // A further part, behind the browser, under its own tab.
    void addPart(const QString &title, QWidget *part);

public slots:
    void initMainDriver(QJsonObject told, bool refresh);
    void on_addFarm_clicked();
    void farmClick(int farmId);
    void farmDel(int farmId);
    void on_setBtn_clicked();
    void on_viewMode_clicked();
    void addFarmOk(QStringList idL);
    void on_headMax_clicked() override;
    void on_moneyBtn_clicked();
    void rightsChanged();
    void connectDAOView(int transType); // its queue stands
    void initDAOView(int transType);    // shows that list

signals:
    void offeredChanged();
    void recharge();

protected:
    void focusInEvent(QFocusEvent *event) override;

private:
    QToolButton *toolButton(const char *name, const char *icon, const QString &tip);
    void makeHead();
    void follow();
    void askConflict(qlonglong farmPri, const QString &path);
    void show(int farmId);
    void farmGone(int farmId);
    void keepTabs();
    QStringList keptTabs() const;
    FarmTab *tabOf(int farmId) const;
    void addTab(const DriveFarm &farm);

    std::unique_ptr<DriveDesk> m_desk;
    QList<DriveFarm> m_farms; // of the account, in the server's order
    QList<FarmTab *> m_tabs;
    QHash<int, FarmPage *> m_pages;
    int m_farm = 0; // that is seen
    TransferD *m_transfers = nullptr;
    QSet<qlonglong> m_conflicts; // batches that are asked for
    bool m_thumbnails = false;
    QHBoxLayout *m_parts = nullptr, *m_tabRow = nullptr;
    QButtonGroup *m_group;
    QList<QPushButton *> m_partButtons;
    QStackedWidget *m_stack, *m_browser;
    QWidget *m_tabLine = nullptr, *m_none = nullptr;
    QScrollArea *m_tabScroll = nullptr;
    QPushButton *m_add = nullptr;
    QToolButton *m_mode = nullptr;
};
