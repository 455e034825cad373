#pragma once
// Deletes a scene as a user asks for it: the order is given up at the server first, (104, 10417), and with the answer
// the row, its parameters and its upload go. Without an answer in time nothing is deleted and the user is told. Main
// thread.
#include "db/Records.h"

class QWidget;

class SceneDelete
{
public:
    static constexpr int AnswerMs = 8000;
    static void run(QWidget *over, qlonglong rkey, int missionId, int answerMs = AnswerMs);
};
