#pragma once
// A small cell that is text until it is clicked (or Space, Enter or F2 is pressed on it), then a field for a frame
// text, and text again when the focus leaves it or Enter is pressed; Escape takes back what was typed. Main thread.
#include <QStackedWidget>

class FrameEdit;
class QPushButton;

class MDW : public QStackedWidget
{
    Q_OBJECT
public:
    explicit MDW(const QString &accessible, QWidget *parent = nullptr);
    QString text() const { return m_value; }
    void setText(const QString &text); // emits nothing

public slots:
    void showEdit();
    void editToText();

signals:
    void edited(QString text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void show(const QString &text);
    QPushButton *m_text;
    FrameEdit *m_edit;
    QString m_value;
};
