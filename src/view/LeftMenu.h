#pragma once
// The left menu of the main window: groups of rows, folded to their icons or with their texts. A row is a page of the
// stack, or a web page with its address. Main thread.
#include <QTableWidget>
#include <QUrl>

class LeftMenu : public QTableWidget
{
    Q_OBJECT
public:
    explicit LeftMenu(QWidget *parent = nullptr);
    void addGroup(const QString &title);
    void addPage(const QString &icon, const QString &title, int page);
    void addWeb(const QString &icon, const QString &title, const QUrl &url);
    void setWeb(const QString &title, const QUrl &url); // another address for the row of that title
    void setFolded(bool on);
    bool folded() const { return m_folded; }
    void setMark(int page, bool on); // the small point that says "something new"
    void selectPage(int page);       // as a click on its row does
    QStringList titles() const;      // of the rows, without groups

signals:
    void pageChosen(int page);
    void webChosen(QString title, QUrl url);

private:
    int addRow(const QString &icon, const QString &title);
    void chosen();
    bool m_folded = false;
};
