#pragma once
// What the SketchUp plug-in sends, put together from the bytes that arrive, as a value:
//
//   getProject                a word, ended by a line end or a pause: the projects are wanted
//   getMachine ... 12         the same: the machines of the project whose number are the last digits
//   { "content": [ ... ] }    one whole JSON object: the finished parameters of a scene
//
// MaxBytes at most. Bad, for good: more than that, another beginning, a text that isn't JSON or has no scene.
#include <QByteArray>
#include <QJsonObject>

class PluginRequest
{
public:
    static constexpr int MaxBytes = 16 * 1024 * 1024;
    enum State { Incomplete, Projects, Machines, Scene, Bad };

    State feed(const QByteArray &data);
    State pause(); // nothing came for a moment: a word counts as ended
    State state() const { return m_state; }
    int projectId() const { return m_projectId; }           // of Machines; 0: none told
    QJsonObject order() const { return m_order; }           // of Scene
    static QJsonObject orderOf(const QJsonObject &message); // empty: it names no scene

private:
    State word(const QByteArray &text);
    State scene();

    State m_state = Incomplete;
    QByteArray m_data;
    int m_projectId = 0;
    int m_read = 0, m_depth = 0; // of the object: what is counted already
    bool m_text = false, m_escaped = false;
    QJsonObject m_order;
};
