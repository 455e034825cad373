#pragma once
// A file of commands for the system's shell: .bat lines in the local encoding on Windows, a shell file elsewhere. Words
// are quoted, so that no path is read as a command.
#include <QByteArray>
#include <QString>
#include <QStringList>

class BatchFile
{
public:
    explicit BatchFile(bool windows);
    void set(const QString &name, const QString &value); // a variable for what follows
    void run(const QStringList &words);                  // a program and its words
    void show(const QString &file);                      // prints a file
    QByteArray text() const;
    // Writes it as base plus ".bat" or ".sh"; its path, empty on failure.
    QString write(const QString &base) const;
    static QString write(const QString &path, const QByteArray &content);

private:
    QString quoted(const QString &word) const;
    bool m_windows;
    QStringList m_lines;
};
