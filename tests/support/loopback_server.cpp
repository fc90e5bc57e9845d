#include "support/loopback_server.h"

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace larkspool {

namespace {

constexpr std::string_view emptyLine = "\r\n\r\n";

/// The bytes of the body that the head tells of; 0 if it tells of none.
std::size_t toldLength(std::string_view head)
{
    constexpr std::string_view name = "\r\nContent-Length: ";
    const std::size_t found = head.find(name);
    std::size_t length = 0;
    if (found != head.npos) std::from_chars(head.data() + found + name.size(), head.data() + head.size(), length);
    return length;
}

bool isWhole(std::string_view request)
{
    const std::size_t end = request.find(emptyLine);
    return end != request.npos && request.size() >= end + emptyLine.size() + toldLength(request.substr(0, end + 2));
}

} // namespace

LoopbackServer::LoopbackServer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (listener_ < 0 || bind(listener_, plain, length) != 0 || listen(listener_, 16) != 0 ||
        getsockname(listener_, plain, &length) != 0 || pipe(stop_) != 0)
        throw std::runtime_error("A server on this machine cannot be started.");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer()
{
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
    close(listener_);
}

void LoopbackServer::play(Script script)
{
    const std::lock_guard lock(mutex_);
    scripts_.push_back(std::move(script));
}

std::string LoopbackServer::url(std::string_view path) const
{
    return fmt::format("http://127.0.0.1:{}{}", port_, path);
}

std::vector<std::string> LoopbackServer::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

bool LoopbackServer::waitForRequests(std::size_t count, std::chrono::milliseconds longest) const
{
    std::unique_lock lock(mutex_);
    return read_.wait_for(lock, longest, [&] { return requests_.size() >= count; });
}

std::size_t LoopbackServer::connections() const
{
    const std::lock_guard lock(mutex_);
    return connections_;
}

void LoopbackServer::serve()
{
    constexpr std::chrono::milliseconds forever{-1};
    while (waitReadable(listener_, forever)) {
        const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        Script script;
        {
            const std::lock_guard lock(mutex_);
            ++connections_;
            if (!scripts_.empty()) {
                script = std::move(scripts_.front());
                scripts_.pop_front();
            }
        }
        serve(connection, script);
        close(connection);
    }
}

void LoopbackServer::serve(int connection, const Script& script)
{
    if (script.readsRequest) {
        std::string request = readRequest(connection);
        const std::lock_guard lock(mutex_);
        requests_.push_back(std::move(request));
        read_.notify_all();
    }
    for (const Piece& piece : script.pieces)
        for (std::size_t i = 0; i < piece.times; ++i)
            if (!send(connection, piece)) return;

    constexpr std::chrono::milliseconds forever{-1};
    char ignored[4096];
    if (script.end == Script::End::hold)
        while (waitReadable(connection, forever) && recv(connection, ignored, sizeof ignored, 0) > 0) {}
    else
        shutdown(connection, SHUT_WR);
}

/// Whether there is something to read before the time is over; false too when the server is to stop.
bool LoopbackServer::waitReadable(int socket, std::chrono::milliseconds longest) const
{
    pollfd watched[] = {{socket, POLLIN, 0}, {stop_[0], POLLIN, 0}};
    int count = 0;
    do {
        count = poll(watched, 2, static_cast<int>(longest.count()));
    } while (count < 0 && errno == EINTR);
    return count > 0 && watched[1].revents == 0;
}

std::string LoopbackServer::readRequest(int connection) const
{
    constexpr std::chrono::seconds longest{20};
    std::string request;
    char bytes[65536];
    while (!isWhole(request) && waitReadable(connection, longest)) {
        const ssize_t count = recv(connection, bytes, sizeof bytes, 0);
        if (count <= 0) break;
        request.append(bytes, static_cast<std::size_t>(count));
    }
    return request;
}

/// False when the other side has gone, or the server is to stop.
bool LoopbackServer::send(int connection, const Piece& piece) const
{
    if (piece.wait.count() > 0) {
        pollfd stop{stop_[0], POLLIN, 0};
        if (poll(&stop, 1, static_cast<int>(piece.wait.count())) > 0) return false;
    }
    std::string_view rest = piece.bytes;
    while (!rest.empty()) {
        pollfd watched[] = {{connection, POLLOUT, 0}, {stop_[0], POLLIN, 0}};
        if (poll(watched, 2, -1) < 0 && errno != EINTR) return false;
        if (watched[1].revents) return false;
        const ssize_t count = ::send(connection, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
        if (count < 0) return false;
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::string httpReply(int status, std::string_view body, std::string_view moreHeaders)
{
    return fmt::format("HTTP/1.1 {} Told\r\n{}Content-Length: {}\r\n\r\n{}", status, moreHeaders, body.size(), body);
}

std::string httpBody(std::string_view message)
{
    const std::size_t end = message.find(emptyLine);
    return std::string(end == message.npos ? std::string_view() : message.substr(end + emptyLine.size()));
}

} // namespace larkspool
