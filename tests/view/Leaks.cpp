// The browser library keeps caches of its own for the process's life; the leak checker is told that they aren't ours.
#if defined(__SANITIZE_ADDRESS__)
extern "C" const char *__lsan_default_suppressions();
const char *__lsan_default_suppressions()
{
    return "leak:libQt5WebKit\nleak:libqoffscreen\nleak:QScreen::QScreen\nleak:QPlatformScreen\nleak:QWindowSystemInterface::"
           "handleScreenAdded\n";
}
#endif
