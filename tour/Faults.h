#pragma once
// What is wrong with a window that stands on screen, in words: texts cut off, texts left in Chinese, controls without a
// name, controls that Tab doesn't reach, keys given twice. Looks and presses Tab; changes nothing else. Main thread.
#include <QStringList>

class QWidget;

namespace Faults
{
// told: words that came from the farm, in whatever language.
QStringList of(QWidget *window, bool english, const QStringList &told = {});
} // namespace Faults
