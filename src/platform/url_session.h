#pragma once

#include "platform/run_loop.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace larkspool {

/// A POST.
struct URLRequest {
    std::string url;
    double timeoutInterval = 60; ///< Seconds to find the host, to connect and to agree on the encryption.
    std::vector<std::pair<std::string, std::string>> headers{}; ///< Names and values. Sent as they are written.
    std::string body{};
};

struct URLReply {
    std::optional<int> statusCode; ///< Absent where the server answered with something that is not HTTP.
    std::string body{};
};

/// Why there is no reply. The words tell nothing of what was sent.
class URLError : public std::runtime_error {
public:
    enum class Code {
        unknown,
        cancelled,
        badURL,
        badHeader, ///< A header has a line end within it.
        insecureConnection, ///< Plain HTTP, to anywhere but this machine.
        timedOut,
        cannotFindHost,
        cannotConnectToHost,
        notConnectedToInternet,
        dataNotAllowed, ///< The network is there and may not be used.
        networkConnectionLost,
        secureConnectionFailed,
        serverCertificateUntrusted,
        replyTooLarge,
    };

    explicit URLError(Code code) : URLError(code, {}) {}
    /// `detail` is shown behind the words of the code.
    URLError(Code code, const std::string& detail);

    Code code() const noexcept { return code_; }
    std::string localizedDescription() const { return what(); }

private:
    Code code_;
};

using URLResult = std::variant<URLReply, URLError>;

/// A request under way. Destroying it, or assigning to it, cancels it: its completion is not called any more.
class URLTask {
public:
    /// What is under way. Its destructor stops it.
    class Work {
    public:
        virtual ~Work() = default;
    };

    URLTask() = default;
    explicit URLTask(std::unique_ptr<Work> work) : work_(std::move(work)) {}

    void cancel() { work_.reset(); }

private:
    std::unique_ptr<Work> work_;
};

/// Sends requests.
class URLSession {
public:
    using Completion = std::function<void(URLResult result)>;

    virtual ~URLSession() = default;

    /// On the main thread, where the task must be held too. `completion` is called there once, after this function has returned.
    /// It may destroy the task.
    [[nodiscard]] virtual URLTask dataTask(URLRequest request, Completion completion) = 0;
};

struct URLSessionConfiguration {
    double timeoutIntervalForRequest = 60; ///< Seconds without a byte in either direction.
    double timeoutIntervalForResource = 7 * 24 * 3600.0; ///< Seconds in all.
    std::size_t largestReply = std::size_t{16} << 20; ///< Bytes of a body. A reply of more is given up.
    std::string trustedCertificates{}; ///< The path of a PEM file of authorities; empty for those of the system.
};

/// Sends each request from a thread of its own.
///
/// Redirects are not followed: they are replies like any other, so that no header goes where it was not meant to. A server must
/// show a valid certificate; plain HTTP is spoken with this machine alone. The proxies of the environment are used.
class CurlURLSession final : public URLSession {
public:
    /// The run loop must outlive the tasks.
    explicit CurlURLSession(RunLoop& runLoop, URLSessionConfiguration configuration = {})
        : runLoop_(runLoop), configuration_(std::move(configuration))
    {}

    [[nodiscard]] URLTask dataTask(URLRequest request, Completion completion) override;

private:
    RunLoop& runLoop_;
    URLSessionConfiguration configuration_;
};

} // namespace larkspool
