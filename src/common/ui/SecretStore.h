#pragma once
// The system's store for secrets, where there is one: the desktop's key ring, on Windows the credential store. It's
// asked on a thread of its own, since some of them wait for their service or for their user; every answer comes to the
// asking thread, once, within AnswerMs. An answer that comes later than that is dropped, so a write that was told
// Unavailable may still have been done.
#include <functional>
#include <memory>
#include <QString>

class SecretStore
{
public:
    enum Result { Good, Missing, Unavailable };
    using Answer = std::function<void(Result result, const QString &text)>;
    static constexpr int AnswerMs = 8000;

    virtual ~SecretStore() = default;
    virtual void read(const QString &name, const Answer &answer) = 0;
    virtual void write(const QString &name, const QString &text, const Answer &answer) = 0;

    static SecretStore *instance();                            // the system's, made at first use
    static void setInstance(std::unique_ptr<SecretStore> one); // tests; null: the system's again
};
