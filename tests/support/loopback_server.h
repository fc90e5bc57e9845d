#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace larkspool {

/// An HTTP server on this machine that plays one script for each connection, in the order in which they were given, and keeps
/// what it was sent. Connections are served one after another; without a script they are closed at once.
class LoopbackServer {
public:
    struct Piece {
        std::string bytes;
        std::chrono::milliseconds wait{0}; ///< Before it is sent.
        std::size_t times = 1;
    };
    struct Script {
        enum class End {
            close, ///< Hangs up.
            hold, ///< Stays silent until the other side hangs up.
        };
        std::vector<Piece> pieces{};
        End end = End::close;
        bool readsRequest = true; ///< Or plays without having read it.
    };

    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    void play(Script script);
    /// A reply in one piece.
    void play(std::string reply) { play(Script{.pieces = {{std::move(reply)}}}); }

    int port() const { return port_; }
    std::string url(std::string_view path = "/") const;

    /// What came over each connection, whole: head and body. Of one that is still being read, nothing.
    std::vector<std::string> requests() const;
    /// Waits until so many requests have been read.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds longest = std::chrono::seconds(20)) const;
    std::size_t connections() const; ///< That were accepted.

private:
    void serve();
    void serve(int connection, const Script& script);
    bool waitReadable(int socket, std::chrono::milliseconds longest) const;
    std::string readRequest(int connection) const;
    bool send(int connection, const Piece& piece) const;

    int listener_ = -1;
    int port_ = 0;
    int stop_[2] = {-1, -1}; ///< A pipe that is closed at the end.
    mutable std::mutex mutex_;
    mutable std::condition_variable read_;
    std::deque<Script> scripts_;
    std::vector<std::string> requests_;
    std::size_t connections_ = 0;
    std::thread thread_;
};

/// A whole HTTP/1.1 reply with its length told.
std::string httpReply(int status, std::string_view body, std::string_view moreHeaders = {});

/// The body of a request or reply: what follows the first empty line.
std::string httpBody(std::string_view message);

} // namespace larkspool
