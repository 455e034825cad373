#pragma once
// The one place where colours have names. The style sheet uses them as "@name", delegates and drawn icons take them
// from here. Values only; main thread.
#include <QColor>
#include <QList>
#include <QPair>
#include <QString>

namespace Palette
{
inline const QColor window{0x28, 0x28, 0x28};
inline const QColor panel{0x2f, 0x2f, 0x2f};
inline const QColor raised{0x38, 0x38, 0x38};
inline const QColor line{0x3a, 0x3a, 0x3a};
inline const QColor border{0x4c, 0x4c, 0x4c};
inline const QColor text{0xcc, 0xcc, 0xcc};
inline const QColor strong{0xee, 0xee, 0xee};
inline const QColor quiet{0x8a, 0x8a, 0x8a};
inline const QColor faint{0x5c, 0x5c, 0x5c};
inline const QColor accent{0x4b, 0x96, 0xea};
inline const QColor accentDeep{0x2f, 0x6d, 0xb5};
inline const QColor done{0x43, 0x8f, 0xe3};
inline const QColor failed{0xe9, 0x4b, 0x5a};
inline const QColor warning{0xe0, 0xa0, 0x3c};
inline const QColor selected{0x33, 0x3f, 0x4d};

inline QList<QPair<QString, QColor>> named()
{
    return {{"@window", window},    {"@panel", panel},
            {"@raised", raised},    {"@line", line},
            {"@border", border},    {"@text", text},
            {"@strong", strong},    {"@quiet", quiet},
            {"@faint", faint},      {"@accentDeep", accentDeep},
            {"@accent", accent},    {"@done", done},
            {"@failed", failed},    {"@warning", warning},
            {"@selected", selected}};
}

// The style sheet with its "@name" marks replaced.
inline QString fill(QString sheet)
{
    for (const auto &[name, colour] : named())
        sheet.replace(name, colour.name());
    return sheet;
}
} // namespace Palette
