#include "views/desktop_secrets.h"

#include <QString>

#include <utility>

#include <qt6keychain/keychain.h>

namespace larkspool {

namespace {

constexpr const char* service = "Larkspool";

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// The job deletes itself when it is done.
void start(QKeychain::Job& job, std::string_view name, std::function<void(QKeychain::Job& job)> finished)
{
    job.setKey(text(name));
    job.setInsecureFallback(false);
    QObject::connect(&job, &QKeychain::Job::finished, &job,
                     [finished = std::move(finished)](QKeychain::Job* done) { finished(*done); });
    job.start();
}

bool isDone(const QKeychain::Job& job)
{
    return job.error() == QKeychain::NoError || job.error() == QKeychain::EntryNotFound;
}

} // namespace

void DesktopSecrets::read(std::string_view name, std::function<void(std::optional<std::string> secret)> answer)
{
    auto* job = new QKeychain::ReadPasswordJob(service);
    start(*job, name, [job, answer = std::move(answer)](QKeychain::Job& done) {
        answer(isDone(done) ? std::optional(job->textData().toStdString()) : std::nullopt);
    });
}

void DesktopSecrets::write(std::string_view name, std::string_view secret, std::function<void(bool isDone)> answer)
{
    const auto finished = [answer = std::move(answer)](QKeychain::Job& done) { answer(isDone(done)); };
    if (secret.empty()) return start(*new QKeychain::DeletePasswordJob(service), name, finished);
    auto* job = new QKeychain::WritePasswordJob(service);
    job->setTextData(text(secret));
    start(*job, name, finished);
}

} // namespace larkspool
