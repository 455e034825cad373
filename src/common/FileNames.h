#pragma once
// Names of files as texts, without loss. Where the system keeps names as bytes (all but Windows) they are UTF-8, and a
// byte that is no part of a character stands as one of its own, U+EF80 to U+EFFF for the bytes 0x80 to 0xFF; whatever
// is really called by one of these stands as its bytes. So every name has one text, and that text leads back to it: a
// folder or file whose name isn't valid text is listed, opened and sent like any other. Any thread.
#include <QString>
#include <string>

namespace FileNames
{
void install();                          // before anything of Qt meets a name; from then on QFile, QDir, ... do so
std::string native(const QString &path); // for the layer below: as it's stored
QString text(const std::string &native);
bool isByte(QChar c); // stands for a byte that is no part of a character
// With "\xE9" in place of such a byte, as it can be shown.
QString shown(const QString &path);
// With the character itself where these bytes are one after all, and other in place of each byte that isn't.
QString plain(const QString &name, QChar other);
} // namespace FileNames
