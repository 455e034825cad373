#pragma once
// The left menu of the main window: groups of rows, folded to their icons or with their texts. A row is known by its
// page's key. Main thread.
#include <QTableWidget>

class LeftMenu : public QTableWidget
{
    Q_OBJECT
public:
    explicit LeftMenu(QWidget *parent = nullptr);
    void addGroup(const QString &title);
    void addPage(const QString &icon, const QString &title, const QString &key);
    void setPossible(const QString &key, bool on); // a row that isn't possible isn't seen, nor a group without rows
    void setFolded(bool on);
    bool folded() const { return m_folded; }
    void setMark(const QString &key, bool on); // the small point that says "something new"
    void selectPage(const QString &key);       // as a click on its row does
    QStringList titles() const;                // of the rows that are seen, without groups

signals:
    void pageChosen(QString key);

private:
    int addRow(const QString &icon, const QString &title);
    int rowOf(const QString &key) const;
    void chosen();
    bool m_folded = false;
};
