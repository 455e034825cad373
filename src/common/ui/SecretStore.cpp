#include "common/ui/SecretStore.h"
#include "common/Delivery.h"
#include <QCoreApplication>
#include <QDebug>
#include <QThread>
#include <QTimer>
#ifdef VN_KEYCHAIN
#include <qt5keychain/keychain.h>
#endif

namespace
{
#ifdef VN_KEYCHAIN
const QString Service = QStringLiteral("VandrelQN");

SecretStore::Result resultOf(QKeychain::Job *job)
{
    switch (job->error()) {
    case QKeychain::NoError:
        return SecretStore::Good;
    case QKeychain::EntryNotFound:
        return SecretStore::Missing;
    default:
        qDebug().noquote() << "SecretStore::resultOf" << int(job->error()) << job->errorString();
        return SecretStore::Unavailable;
    }
}

// One for the process, whoever asks: the library's own queue lives on the thread that asked first, and a job of another
// thread could be gone when that queue hears of its end.
struct Worker {
    QThread *thread = new QThread;
    QObject *guard = new QObject;
    Worker()
    {
        guard->moveToThread(thread);
        thread->start();
    }
    static Worker &one()
    {
        static Worker worker;
        return worker;
    }
};

class Keychain : public SecretStore
{
public:
    Keychain()
    {
        Worker::one();
        // Left to itself where a key ring doesn't answer: the process ends all the same.
        qAddPostRoutine([] {
            Worker::one().thread->quit();
            Worker::one().thread->wait(300);
        });
    }
    void read(const QString &name, const Answer &answer) override
    {
        run(answer, [name] {
            auto *job = new QKeychain::ReadPasswordJob(Service);
            job->setKey(name);
            return job;
        });
    }
    void write(const QString &name, const QString &text, const Answer &answer) override
    {
        run(answer, [name, text] {
            auto *job = new QKeychain::WritePasswordJob(Service);
            job->setKey(name);
            job->setTextData(text);
            return job;
        });
    }

private:
    void run(const Answer &answer, const std::function<QKeychain::Job *()> &make)
    {
        const Delivery way = Delivery::here();
        auto open = std::make_shared<bool>(true); // of the asking thread alone
        const auto end = [open, answer](Result result, const QString &text) {
            if (!*open)
                return;
            *open = false;
            answer(result, text);
        };
        // The bound is the asking thread's own: the other one may be stuck in a service.
        QTimer::singleShot(AnswerMs, QCoreApplication::instance(), [end] { end(Unavailable, {}); });
        QMetaObject::invokeMethod(
            Worker::one().guard,
            [guard = Worker::one().guard, way, end, make] {
                QKeychain::Job *job = make();
                job->setInsecureFallback(false);
                QObject::connect(job, &QKeychain::Job::finished, guard, [way, end](QKeychain::Job *done) {
                    auto *read = qobject_cast<QKeychain::ReadPasswordJob *>(done);
                    way.post([end, result = resultOf(done), text = read ? read->textData() : QString()] {
                        end(result, text);
                    });
                });
                job->start();
            },
            Qt::QueuedConnection);
    }
};
#else
class Keychain : public SecretStore
{
public:
    void read(const QString &, const Answer &answer) override { answer(Unavailable, {}); }
    void write(const QString &, const QString &, const Answer &answer) override { answer(Unavailable, {}); }
};
#endif

std::unique_ptr<SecretStore> &current()
{
    static std::unique_ptr<SecretStore> one;
    return one;
}
} // namespace

SecretStore *SecretStore::instance()
{
    if (!current())
        current() = std::make_unique<Keychain>();
    return current().get();
}

void SecretStore::setInstance(std::unique_ptr<SecretStore> one) { current() = std::move(one); }
