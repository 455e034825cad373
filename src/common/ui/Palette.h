#pragma once
// The one place where colours have names. The style sheet uses them as "@name", delegates and drawn icons take them
// from here. Values only; main thread.
#include <QColor>
#include <QList>
#include <QPair>
#include <QString>

// What a text's colour means. Pages say the meaning, the colour is settled here.
enum class Tint { Plain, Quiet, Running, Done, Warning, Failed };

namespace Palette
{
inline const QColor window{0x28, 0x28, 0x28};
inline const QColor stage{0x1c, 0x1c, 0x1c}; // behind pictures
inline const QColor panel{0x2f, 0x2f, 0x2f};
inline const QColor raised{0x38, 0x38, 0x38};
inline const QColor line{0x3a, 0x3a, 0x3a};
inline const QColor border{0x4c, 0x4c, 0x4c}; // of what floats: menus, tool tips
inline const QColor edge{0x7a, 0x7a, 0x7a};   // of what is typed into or pressed: 3 to 1 against the window
inline const QColor text{0xcc, 0xcc, 0xcc};
inline const QColor strong{0xee, 0xee, 0xee};
inline const QColor quiet{0xa2, 0xa2, 0xa2};
inline const QColor faint{0x5c, 0x5c, 0x5c};
inline const QColor accent{0x4b, 0x96, 0xea};
inline const QColor link{0x62, 0xa6, 0xf0}; // words that are pressed: readable on a selected row too
inline const QColor accentDeep{0x2f, 0x6d, 0xb5};
inline const QColor done{0x43, 0x8f, 0xe3};
inline const QColor failed{0xe9, 0x4b, 0x5a};
// As words: the two above stand out enough as bars and marks only.
inline const QColor doneText{0x6a, 0xae, 0xf5};
inline const QColor failedText{0xf4, 0x80, 0x8a};
inline const QColor warning{0xe0, 0xa0, 0x3c};
inline const QColor selected{0x2b, 0x36, 0x44};

inline QList<QPair<QString, QColor>> named()
{
    return {{"@window", window}, {"@panel", panel},     {"@raised", raised},
            {"@line", line},     {"@border", border},   {"@edge", edge},
            {"@text", text},     {"@link", link},       {"@strong", strong},
            {"@quiet", quiet},   {"@faint", faint},     {"@accentDeep", accentDeep},
            {"@accent", accent}, {"@done", done},       {"@failedText", failedText},
            {"@failed", failed}, {"@warning", warning}, {"@selected", selected}};
}

// Of words, on every ground that a list has.
inline QColor of(Tint tint)
{
    switch (tint) {
    case Tint::Quiet:
        return quiet;
    case Tint::Running:
        return link;
    case Tint::Done:
        return doneText;
    case Tint::Warning:
        return warning;
    case Tint::Failed:
        return failedText;
    case Tint::Plain:
        break;
    }
    return text;
}

// The style sheet with its "@name" marks replaced.
inline QString fill(QString sheet)
{
    for (const auto &[name, colour] : named())
        sheet.replace(name, colour.name());
    return sheet;
}
} // namespace Palette
