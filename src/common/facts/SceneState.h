#pragma once
// The life of one scene: its states, which act leads from which state to which, what a row offers. The one place that
// knows; stores write a state only along an act (compare and set), pages ask possible(). Values and pure functions,
// any thread.
//
//   Waiting -Start-> Analysing -Finish-> Warned | Failed | Incomplete | Clean -Commit-> Committed
//   Committed -Submit-> Submitting -Accept-> UploadWaiting -TakeUp-> Uploading -> the row leaves the store
//                       `-Refuse-> SubmitFailed -Recommit-> Committed
//   On a subordinate seat: Submitting -HandOver-> ApprovalWaiting -Approve-> Approved -EndAtMaster-> the row leaves
#include <initializer_list>
#include <QList>
#include <QString>

namespace SceneState
{
// The numbers outlive the program.
enum State {
    None = 0,
    Waiting = 100,
    Analysing = 101,
    AnalysisPaused = 102,
    Warned = 103,
    Failed = 104,
    Incomplete = 105, // parameters are missing
    Clean = 106,
    Committed = 107,
    Submitting = 108,
    SubmitFailed = 109,
    UploadWaiting = 110,
    Uploading = 111,
    UploadPaused = 112,
    UploadFailed = 113,
    OrderRefused = 114,
    ApprovalWaiting = 115,
    Approved = 116,
    Rejected = 117,
    DoneForSeat = 118,  // on a master: kept for the subordinate seat's question, shown nowhere
    DoneAtMaster = 119, // on a subordinate seat
    Submitted = 120
};
constexpr int First = Waiting, Last = Submitted;

// A set of states.
class Set
{
public:
    constexpr Set() = default;
    constexpr Set(std::initializer_list<State> states)
    {
        for (State state : states)
            m_bits |= bit(state);
    }
    static constexpr Set range(State low, State high)
    {
        Set set;
        for (int state = low; state <= high; ++state)
            set.m_bits |= bit(state);
        return set;
    }
    constexpr bool contains(int state) const { return (m_bits & bit(state)) != 0; }
    constexpr bool isEmpty() const { return m_bits == 0; }
    constexpr Set operator|(Set other) const
    {
        other.m_bits |= m_bits;
        return other;
    }
    QList<int> list() const;
    int only() const;    // the state of a set of one, else None
    QString sql() const; // "101,102": for "state in (...)"

private:
    static constexpr quint32 bit(int state) { return state < First || state > Last ? 0u : 1u << (state - First); }
    quint32 m_bits = 0;
};

inline constexpr Set All = Set::range(Waiting, Submitted);
inline constexpr Set BeforeCommit = Set::range(Waiting, Clean); // may be analysed again, its parameters changed
inline constexpr Set Ended = Set::range(Warned, Clean);         // the analysis has ended
inline constexpr Set InUpload = Set::range(UploadWaiting, UploadFailed);
inline constexpr Set ForUpload{UploadWaiting, Uploading}; // what the upload queue walks

// What can happen to a scene. The first group are the user's, the second the queues'.
enum class Act {
    None,
    Commit,
    Recommit,
    Delete,
    Again,
    PauseAnalysis,
    ResumeAnalysis,
    PauseUpload,
    ResumeUpload,
    EditParameters,
    SeeWarnings,
    SeeErrors,
    Prioritise,

    Start,       // its analysis begins
    Finish,      // its analysis ended: four outcomes
    Overrun,     // the analysis ran past its time and was ended
    CannotStart, // the analysis can't even begin
    Abandon,     // nobody analyses it any more (a restart, the end of the session)
    GrantOrder,  // the order number has come after a refusal
    RefuseOrder, // the server gives no order number
    CommitClone, // its order number has come, and it needs no analysis
    BlockCommit, // a commit that its parameters forbid
    Submit,      // its order goes out
    Refuse,      // no order came of it
    SubmitAgain, // nothing was answered and nothing can come any more
    Accept,      // the order stands
    TakeUp,      // the upload begins
    Interrupt,   // the upload was running when the program ended
    FailUpload,  // every file that is left has failed
    LoseFiles,   // its file list is gone: the order is asked for anew
    KeepForSeat, // uploaded, kept for a subordinate seat's question
    HandOver,    // the master has taken it
    Approve,     // the master uploads it
    Reject,      // the master has dropped it
    EndAtMaster  // the master has finished it
};

Set from(Act act);
Set to(Act act); // empty: changes no state
bool possible(Act act, int state);
Act link(int state);         // what a click on the state opens: SeeWarnings, SeeErrors, EditParameters or None
Act mainButton(int state);   // the row's first button: one of the pauses and resumes, or None
int changeType(Act act);     // number of a pause or resume in ResolveCalls::changeResolveState; -1 for others
Act ofChangeType(int type);  // the other way round
int priorityType(int state); // 0 of the analyses, 1 of the uploads, -1: no place in a queue
bool isAnalysis(int state);  // its pause, resume and end want the right to analyse
bool isUpload(int state);    // the same for uploads

// Translated; empty where a state has no text (DoneForSeat, numbers that are no state).
QString text(int state);
QString buttonText(Act act);

// What a state means to the eye; the palette gives it a colour.
enum class Tint { Plain, Running, Warning, Failed, Done };
Tint tint(int state);
} // namespace SceneState
