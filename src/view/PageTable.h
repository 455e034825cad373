#pragma once
// The register of the main window's pages: a page stands in the left menu, the stack and the keys by its row here and
// by nothing else. Rows that name the same view share one widget. Main thread.
#include <functional>
#include <QList>
#include <QString>

class QWidget;
class Shell;

struct PageSpec {
    const char *key;   // its name in Shell::showPage and mark
    const char *group; // of the menu; rows of a group stand together
    const char *icon, *title;
    int shortcut = 0; // Ctrl and this digit; 0: none
    const char *address =
        nullptr;                // key of the 10308 reply that a web page lies under; no row where the server has none
    bool (*right)() = nullptr;  // no row for an account without it
    const char *view = nullptr; // rows with the same one share a widget; null: its own, named by key
    QWidget *(*make)(Shell *shell); // called once: when it's first chosen, or with the window where early
    bool early = false;             // listens to the engine before it's looked at
    void (*shown)(QWidget *page, Shell *shell, const PageSpec &spec) = nullptr;

    QString name() const { return QString::fromLatin1(key); }
    QString text() const; // the title in the interface's language
    QString groupText() const;
    bool possible(const Shell *shell) const; // right and address are there
};

const QList<PageSpec> &pageTable(); // in the order of the menu
