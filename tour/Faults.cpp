#include "Faults.h"
#include "common/ui/kit/RecordModel.h"
#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QRegularExpression>
#include <QScrollArea>
#include <QSet>
#include <QStyle>
#include <QTextDocument>
#include <QTreeView>
#include <QWebView>

namespace
{
constexpr int MostTabs = 400;

QString named(const QWidget *w, const QString &text = {})
{
    QString name = QString::fromLatin1(w->metaObject()->className());
    if (!w->objectName().isEmpty())
        name += QLatin1Char('#') + w->objectName();
    return text.isEmpty() ? name : QStringLiteral("%1 \"%2\"").arg(name, text.left(40));
}

// Inside what isn't ours to judge: the page of a web view.
bool foreign(const QWidget *w)
{
    for (; w; w = w->parentWidget())
        if (qobject_cast<const QWebView *>(w))
            return true;
    return false;
}

QList<QWidget *> shown(QWidget *window)
{
    QList<QWidget *> out{window};
    for (QWidget *w : window->findChildren<QWidget *>())
        if (w->isVisible() && w->isVisibleTo(window) && w->window() == window && !foreign(w)) // all above it, too
            out << w;
    return out;
}

bool scrolled(const QWidget *w, const QWidget *window)
{
    for (; w && w != window; w = w->parentWidget())
        if (qobject_cast<const QAbstractScrollArea *>(w))
            return true;
    return false;
}

QString bare(QString text) { return text.remove(QLatin1Char('&')); }

int lineWidth(const QWidget *w, const QString &text)
{
    int width = 0;
    for (const QString &line : text.split(QLatin1Char('\n')))
        width = qMax(width, w->fontMetrics().horizontalAdvance(line));
    return width;
}

QString short_(int needs, int has) { return QStringLiteral("cut off: %3, needs %1, has %2").arg(needs).arg(has); }

QString cutLabel(const QLabel *label)
{
    if (label->text().isEmpty() || label->sizePolicy().horizontalPolicy() == QSizePolicy::Ignored)
        return {};
    const QRect room = label->contentsRect();
    if (label->wordWrap()) {
        const int needs = label->heightForWidth(label->width());
        return needs > label->height() + 1 ? short_(needs, label->height()) : QString();
    }
    const int needs =
        Qt::mightBeRichText(label->text()) ? label->sizeHint().width() : lineWidth(label, bare(label->text()));
    return needs > room.width() + 1 ? short_(needs, room.width()) : QString();
}

QString cutButton(const QAbstractButton *button)
{
    if (button->text().isEmpty())
        return {};
    const int needs = button->sizeHint().width(); // with what the style sets around the text
    return needs > button->width() + 1 ? short_(needs, button->width()) : QString();
}

QStringList cutHeads(const QTreeView *view)
{
    QStringList out;
    const QHeaderView *head = view->header();
    for (int i = 0; i < head->count(); ++i) {
        const QString title = view->model()->headerData(i, Qt::Horizontal).toString();
        const int needs = lineWidth(head, title) + 8;
        if (!head->isSectionHidden(i) && needs > head->sectionSize(i))
            out << short_(needs, head->sectionSize(i)).arg(named(view, title));
    }
    return out;
}

// Words that are pressed can't be read from a tool tip: they must fit.
QStringList cutWords(const QTreeView *view)
{
    QStringList out;
    const QHeaderView *head = view->header();
    const QAbstractItemModel *model = view->model();
    for (int i = 0; i < head->count() && !head->isHidden(); ++i)
        for (int row = 0; row < qMin(30, model->rowCount()) && !head->isSectionHidden(i); ++row) {
            int needs = 24 - 16; // beside the first and the last, between two
            const QStringList words = model->index(row, i).data(CellRole::Buttons).toStringList();
            for (const QString &word : words)
                needs += word.isEmpty() ? 0 : lineWidth(view, word) + 18;
            if (needs > head->sectionSize(i) && !out.size())
                out << short_(needs, head->sectionSize(i)).arg(named(view, words.join(QLatin1Char(' '))));
        }
    return out;
}

bool control(const QWidget *w)
{
    return qobject_cast<const QAbstractButton *>(w) || qobject_cast<const QLineEdit *>(w) ||
           qobject_cast<const QComboBox *>(w) || qobject_cast<const QAbstractSpinBox *>(w) ||
           qobject_cast<const QAbstractItemView *>(w) || (w->focusPolicy() & Qt::TabFocus);
}

// A control beside it that it shares room with; null: none.
const QWidget *crossed(const QWidget *w, const QList<QWidget *> &all)
{
    if (!control(w) || qobject_cast<const QLineEdit *>(w->parentWidget()))
        return nullptr;
    for (const QWidget *other : all)
        if (other > w && control(other) && other->parentWidget() == w->parentWidget() &&
            other->geometry().intersects(w->geometry()))
            return other;
    return nullptr;
}

QStringList cutOff(const QList<QWidget *> &all, const QWidget *window)
{
    QStringList out;
    for (QWidget *w : all) {
        QString cut, text;
        if (auto *label = qobject_cast<QLabel *>(w))
            cut = cutLabel(label), text = label->text();
        else if (auto *button = qobject_cast<QAbstractButton *>(w))
            cut = cutButton(button), text = button->text();
        else if (auto *edit = qobject_cast<QLineEdit *>(w); edit && edit->text().isEmpty()) {
            const int needs = lineWidth(edit, edit->placeholderText()),
                      has = edit->contentsRect().width() - 12 -
                            (edit->actions().isEmpty() ? 0 : 24); // an icon stands before it
            text = edit->placeholderText();
            cut = needs > has ? short_(needs, has) : QString();
        } else if (auto *view = qobject_cast<QTreeView *>(w))
            out << cutHeads(view) << cutWords(view);
        if (!cut.isEmpty())
            out << cut.arg(named(w, text));
        if (const QWidget *other = crossed(w, all))
            out << QStringLiteral("lie over each other: %1 and %2").arg(named(w, text), named(other));
        const QRect seen = w->visibleRegion().boundingRect();
        if (w != window && !w->isWindow() && !w->size().isEmpty() && !scrolled(w->parentWidget(), window) &&
            (seen.width() < w->width() || seen.height() < w->height()) &&
            (!text.isEmpty() || w->focusPolicy() != Qt::NoFocus))
            out << QStringLiteral("cut off by what is around: %1, %2x%3 of %4x%5")
                       .arg(named(w, text))
                       .arg(seen.width())
                       .arg(seen.height())
                       .arg(w->width())
                       .arg(w->height());
    }
    return out;
}

QStringList textsOf(QWidget *w)
{
    QStringList out{w->toolTip(), w->accessibleName(), w->isWindow() ? w->windowTitle() : QString()};
    if (auto *label = qobject_cast<QLabel *>(w))
        out << label->text();
    else if (auto *button = qobject_cast<QAbstractButton *>(w))
        out << button->text();
    else if (auto *edit = qobject_cast<QLineEdit *>(w))
        out << edit->placeholderText() << edit->text();
    else if (auto *box = qobject_cast<QComboBox *>(w))
        for (int i = 0; i < box->count(); ++i)
            out << box->itemText(i);
    else if (auto *view = qobject_cast<QTreeView *>(w))
        for (int column = 0; column < view->model()->columnCount(); ++column) {
            out << view->model()->headerData(column, Qt::Horizontal).toString();
            for (int row = 0; row < qMin(30, view->model()->rowCount()); ++row) {
                const QModelIndex at = view->model()->index(row, column);
                out << at.data().toString() << at.data(Qt::ToolTipRole).toString()
                    << at.data(CellRole::Buttons).toStringList();
            }
        }
    for (const QAction *action : w->actions())
        out << action->text();
    return out;
}

QStringList chinese(const QList<QWidget *> &all, const QStringList &told)
{
    static const QRegularExpression sign(QStringLiteral("[\\x{3000}-\\x{303f}\\x{4e00}-\\x{9fff}\\x{ff00}-\\x{ffef}]"));
    QStringList out;
    for (QWidget *w : all)
        for (QString text : textsOf(w)) {
            for (const QString &word : told)
                text.remove(word);
            if (text.contains(sign))
                out << QStringLiteral("not translated: %1").arg(named(w, text));
        }
    return out;
}

// Parts of a control that the toolkit made: the field of a box, a scroll area's viewport, the clear mark of a field.
bool part(const QWidget *w)
{
    const QWidget *parent = w->parentWidget();
    return qobject_cast<const QHeaderView *>(w) || qobject_cast<const QScrollArea *>(w) ||
           (parent && (qobject_cast<const QComboBox *>(parent) || qobject_cast<const QAbstractSpinBox *>(parent) ||
                       qobject_cast<const QLineEdit *>(parent)));
}

QStringList nameless(const QList<QWidget *> &all)
{
    QStringList out;
    for (QWidget *w : all) {
        if (!control(w) || part(w))
            continue;
        QAccessibleInterface *face = QAccessible::queryAccessibleInterface(w);
        if (!face || face->text(QAccessible::Name).trimmed().isEmpty())
            out << QStringLiteral("no accessible name: %1").arg(named(w));
    }
    return out;
}

// Of buttons that exclude each other one is reached, arrows go on from there.
bool reachedByOthers(const QWidget *w, const QSet<QWidget *> &met)
{
    auto *button = qobject_cast<const QAbstractButton *>(w);
    if (!button || !button->autoExclusive())
        return false;
    for (QAbstractButton *other :
         w->parentWidget()->findChildren<QAbstractButton *>(QString(), Qt::FindDirectChildrenOnly))
        if (other->autoExclusive() && met.contains(other))
            return true;
    return false;
}

// The window's own buttons are the system's business: its menu and keys do the same.
bool windowButton(const QWidget *w)
{
    return w->objectName().startsWith(QLatin1String("head")) && w->focusPolicy() == Qt::NoFocus;
}

// What is around the control shows a difference between having the focus and not.
QImage around(QWidget *window, const QWidget *w)
{
    const QRect place(w->mapTo(window, QPoint()), w->size());
    return window->grab(place.adjusted(-3, -3, 3, 3) & window->rect()).toImage();
}

QStringList unreached(QWidget *window, const QList<QWidget *> &all)
{
    QApplication::setActiveWindow(window);
    if (!window->focusWidget())
        window->setFocus();
    QWidget *const first = QApplication::focusWidget();
    QSet<QWidget *> met;
    QStringList out;
    for (int i = 0; i < MostTabs; ++i) {
        QWidget *at = QApplication::focusWidget();
        if (!at || (i > 0 && at == first && met.size() > 1))
            break;
        const bool judged =
            !met.contains(at) && window->isAncestorOf(at) && !foreign(at) && !at->findChild<QWebView *>();
        const QImage with = judged ? around(window, at) : QImage();
        met << at;
        QKeyEvent down(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier),
            up(QEvent::KeyRelease, Qt::Key_Tab, Qt::NoModifier);
        QApplication::sendEvent(at, &down);
        if (QWidget *now = QApplication::focusWidget())
            QApplication::sendEvent(now, &up);
        QCoreApplication::processEvents(); // a scrolled form brings what has the focus into sight
        if (judged && QApplication::focusWidget() != at && at->isVisible() && with == around(window, at))
            out << QStringLiteral("its focus can't be seen: %1").arg(named(at, at->accessibleName()));
    }
    for (QWidget *w : all) {
        if (!control(w) || part(w) || !w->isEnabled() || reachedByOthers(w, met) || windowButton(w))
            continue;
        QWidget *holder = w;
        while (holder->focusProxy())
            holder = holder->focusProxy();
        if (!met.contains(w) && !met.contains(holder))
            out << QStringLiteral("Tab doesn't reach: %1").arg(named(w, w->accessibleName()));
    }
    if (first)
        first->setFocus();
    return out;
}

struct Key {
    QKeySequence keys;
    QWidget *area; // where it works
    QString who;
    bool below; // also in what is below the area
};

QStringList doubled(QWidget *window, const QList<QWidget *> &all)
{
    QList<Key> keys;
    for (QWidget *w : all) {
        if (auto *button = qobject_cast<QAbstractButton *>(w);
            button && !button->shortcut().isEmpty() && button->isEnabled())
            keys << Key{button->shortcut(), window, named(w, button->text()), true};
        if (auto *label = qobject_cast<QLabel *>(w); label && label->buddy())
            if (const QKeySequence key = QKeySequence::mnemonic(label->text()); !key.isEmpty())
                keys << Key{key, window, named(w, label->text()), true};
        for (QAction *action : w->actions())
            for (const QKeySequence &key : action->shortcuts())
                if (action->isEnabled()) {
                    const bool wide = action->shortcutContext() == Qt::WindowShortcut ||
                                      action->shortcutContext() == Qt::ApplicationShortcut;
                    keys << Key{key, wide ? window : w, named(w, action->text()),
                                action->shortcutContext() != Qt::WidgetShortcut};
                }
    }
    QStringList out;
    for (int i = 0; i < keys.size(); ++i)
        for (int j = i + 1; j < keys.size(); ++j) {
            const Key &a = keys.at(i), &b = keys.at(j);
            const bool meet = a.area == b.area || (a.below && a.area->isAncestorOf(b.area)) ||
                              (b.below && b.area->isAncestorOf(a.area));
            if (meet && a.keys == b.keys)
                out << QStringLiteral("one key for two: %1, %2 and %3").arg(a.keys.toString(), a.who, b.who);
        }
    return out;
}
} // namespace

QStringList Faults::of(QWidget *window, bool english, const QStringList &told)
{
    const QList<QWidget *> all = shown(window);
    QStringList out = cutOff(all, window);
    if (english)
        out << chinese(all, told);
    out << nameless(all) << doubled(window, all) << unreached(window, all);
    out.removeDuplicates();
    return out;
}
