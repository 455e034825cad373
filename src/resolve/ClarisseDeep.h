#pragma once
// Which layers of a Clarisse project write deep output, and where: the one thing that the software's own report leaves
// out. Read from the project's text, line by line; braces inside quotes don't count. Any thread.
//
//   Context "scene" {
//       Image {
//           name "image"
//           embedded_objects {
//               Layer3d {
//                   name "background"
//                   enable_deep_output yes
//                   save_deep_data_as "/out/deep"
#include "resolve/StopToken.h"
#include <QHash>
#include <QIODevice>
#include <QString>

class ClarisseDeep
{
public:
    static ClarisseDeep scan(const QString &projectFile,
                             const StopToken &stop = {}); // empty when the file can't be read
    static ClarisseDeep scan(QIODevice *device, const StopToken &stop = {});
    // Names as the software reports them, "project://scene/image" and "project://scene/image.layer", or bare.
    QString file(const QString &image, const QString &layer) const;
    bool isEmpty() const { return m_files.isEmpty(); }

    static QString imageName(const QString &reported);                       // last piece
    static QString layerName(const QString &image, const QString &reported); // last piece

private:
    static constexpr qint64 MaxLine = 1024 * 1024;
    QHash<QString, QString> m_files; // "image\nlayer", the image bare and with its whole name
};
