#pragma once
// The question before the program ends by hand: while scenes are analysed or uploaded it says how many and asks,
// otherwise it ends at once. Main thread; the stores are asked elsewhere.
#include <functional>
#include <QString>

class QWidget;

namespace Leaving
{
// go() runs when nothing is under way or the user agreed, while over lives. opening: the first sentence of a question
// about a restart, which is always asked.
void ask(QWidget *over, std::function<void()> go, const QString &opening = {});
} // namespace Leaving
