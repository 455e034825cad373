#pragma once
// An XML file as a stream reader takes it: block by block, so that a scene of any size costs no more memory than its
// longest value; in another encoding than it tells, where one is given; ended early when told to stop, or when declared
// entities would expand without bound in sum (the reader limits each of them alone). One thread.
#include "resolve/StopToken.h"
#include <memory>
#include <QFile>
#include <QTextCodec>
#include <QXmlStreamReader>

class XmlSource : public QIODevice
{
public:
    static constexpr int EntityLimit = 4096;      // characters that one entity may expand to
    static constexpr qint64 MaxReferences = 4096; // in a file that declares entities: 16 Mi characters at most
    static constexpr char TileMark[] = "<UDIM>";  // comes unescaped from some versions of Clarisse

    // The bytes from..to of an open file; to -1: its end. codec: null leaves the encoding to the reader.
    XmlSource(QFile *file, const StopToken &stop, QTextCodec *codec = nullptr, qint64 from = 0, qint64 to = -1);
    bool isSequential() const override { return true; }

    void attach(QXmlStreamReader *xml); // reads from this, with the limits
    void entitiesDeclared() { m_limited = true; }
    void escapeTiles() { m_tiles = true; }
    void replaceUndecodable() { m_lenient = true; } // goes on behind them
    bool undecodable() const;                       // there were bytes that the codec hasn't: ended there

protected:
    qint64 readData(char *data, qint64 max) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    bool refill();

    QFile *m_file;
    StopToken m_stop;
    std::unique_ptr<QTextDecoder> m_decoder;
    qint64 m_left;
    qint64 m_references = 0;
    bool m_limited = false, m_tiles = false, m_lenient = false;
    QByteArray m_ready, m_held; // m_held: the beginning of a mark that the next block may complete
};
