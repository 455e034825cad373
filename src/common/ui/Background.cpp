#include "common/ui/Background.h"
#include "common/SerialQueue.h"

namespace
{
SerialQueue &queue()
{
    static SerialQueue one;
    return one;
}
} // namespace

void Background::post(std::function<void()> work) { queue().post(std::move(work)); }

void Background::finish() { queue().finish(); }
