#pragma once
// A Terragen project (.tgd) as a value: cameras, GI settings, every file it depends on and what of that is missing.
// The file is XML without a declaration, rooted in "terragen"; paths are relative to its folder and mix both slashes.
// Read in one pass, block by block; bounded in size, depth and what entities expand to, alone and in sum. Any thread;
// the disk is asked for the files. Told to stop, it ends at the next element or entry of a folder, with an error.
//
//   <terragen>
//     <render name image_width image_height sequence_first sequence_last sequence_step>
//       <render_GI_settings name no_GI_cache_file read_from_GI_cache_file write_to_GI_cache_file
//                           GI_cache_filename_to_read/>
//     </render>
//     ... <obj_reader filename> ... <default_shader colour_image/> ... </obj_reader>
//   </terragen>
#include "resolve/StopToken.h"
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

class TerragenScene
{
    Q_DECLARE_TR_FUNCTIONS(TerragenScene)
public:
    static constexpr qint64 MaxBytes = 256 * 1024 * 1024;
    static constexpr int MaxDepth = 1000;

    int error = 0; // AnalysisError: BadResult when it isn't a project, SceneUnreadable when it can't be opened or isn't
                   // a regular file
    QJsonArray cameras;
    QStringList files;   // the scene first; existing, absolute, each once
    QStringList missing; // absolute, patterns too
    bool noPhotons = false;
    QString photonFrames; // a line for each sequence of photon files that doesn't reach over the frames

    static TerragenScene read(const QString &path, const StopToken &stop = {});
    QJsonObject result() const; // {status, content, details}; without a render there is nothing to order: status 2
    static int giMode(const QString &none, const QString &readFrom, const QString &writeTo); // texts of the three flags
};
