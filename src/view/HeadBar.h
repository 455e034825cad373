#pragma once
// What stands in the main window's head between its title and its buttons: the running notice, balance, message mark,
// account. It shows and asks; the window does. Main thread.
#include <QJsonObject>
#include <QWidget>

class QLabel;
class QPushButton;
class QToolButton;

class HeadBar : public QWidget
{
    Q_OBJECT
public:
    explicit HeadBar(QWidget *parent = nullptr);
    void setNotice(const QJsonObject &obj);
    void setAccount(const QString &name);
    void setBalance(const QString &text); // with two decimals
    void showMoney(bool show);
    void setRecharge(bool possible); // whether there's an address to recharge at
    void setRedMark(bool on);
    QString noticeHtml() const;
    QString balanceText() const;
    bool redMark() const;

    static QString noticeText(const QJsonObject &obj); // as the label takes it; empty without content

signals:
    void refreshBalance();
    void recharge();
    void notices();
    void settings();
    void changeUser();
    void updates();
    void leave();
    void language(QString word); // "zh_cn" or "en_us"

private:
    QLabel *m_notice;
    QPushButton *m_money, *m_account;
    QPushButton *m_recharge;
    QToolButton *m_bell;
    bool m_red = false, m_possible = false, m_moneyShown = true;
};
