#pragma once
// The bar over a folder: back, forward, up, read again, the folders on the way from the root as buttons (the first ones
// under "…" where there's no room), and the search. Remembers where one was. Main thread; owned by the farm's page,
// which goes where it says and tells it where that is.
#include "view/driver/FileView.h"
#include <QWidget>

class QHBoxLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

class DriverPath : public QWidget
{
    Q_OBJECT
public:
    explicit DriverPath(QWidget *parent);
    // Where the view is now, from the root down.
    void setPath(const QVector<FileView> &chain);
    const QVector<FileView> &path() const { return m_chain; }
    void setSearch(const QString &text); // results of it are shown
    bool searching() const { return m_searching; }
    QLineEdit *field() const { return m_search; }
    QString text() const;                     // "D/project/scenes"; empty at the root
    void forget();                            // another tree: no way back into the old one
    QString idAt(const QPoint &global) const; // of the folder's button there

signals:
    void driverPathChanged(QString lastId);
    void driverSearh(QString name, QString id);
    void driverSearchOut();
    void refreshed();

public slots:
    void driverPathClick(QString id);
    void on_back_clicked();
    void on_forward_clicked();
    void on_up_clicked();
    void on_refresh_clicked();
    void searchOut();

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void build();
    void fit();
    void follow();
    QToolButton *button(const char *name, const QString &icon, const QString &tip);

    QVector<FileView> m_chain;
    QStringList m_visited; // ids
    int m_at = -1;
    bool m_searching = false, m_walking = false;
    QToolButton *m_back, *m_forward, *m_up, *m_refresh, *m_hidden;
    QWidget *m_crumbs;
    QHBoxLayout *m_row;
    QVector<QToolButton *> m_buttons;
    QLabel *m_found;
    QLineEdit *m_search;
};
