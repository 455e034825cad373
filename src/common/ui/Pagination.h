#pragma once
// Page buttons under a list: back, forward, the page's number to type, the count of pages. Pages count from 0 in the
// signals and from 1 on screen. Hidden while there is one page. Main thread.
#include <QWidget>

class QLabel;
class QLineEdit;
class QToolButton;

class Pagination : public QWidget
{
    Q_OBJECT
public:
    explicit Pagination(QWidget *parent = nullptr);
    int page() const { return m_page; }
    void setPageSum(int sum); // a page beyond the end becomes the last one, which pageChanged then tells
    void setPage(int page);   // no signal
    void first() { setPage(0); }
    void go(int page); // as the buttons do

signals:
    void pageChanged(int page);

private:
    void show(int page);

    QToolButton *m_back, *m_forward;
    QLineEdit *m_number;
    QLabel *m_sum;
    int m_page = 0, m_pages = 1;
};
