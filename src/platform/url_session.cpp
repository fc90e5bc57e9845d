#include "platform/url_session.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <new>
#include <string_view>
#include <thread>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace larkspool {

namespace {

using Code = URLError::Code;
using Clock = std::chrono::steady_clock;

/// Bytes. A server that sends more before the body wants no good.
constexpr std::size_t largestReplyHead = std::size_t{1} << 18;

template <auto close>
struct Closing {
    template <typename Handle>
    void operator()(Handle* handle) const
    {
        close(handle);
    }
};
using EasyHandle = std::unique_ptr<CURL, Closing<curl_easy_cleanup>>;
using MultiHandle = std::unique_ptr<CURLM, Closing<curl_multi_cleanup>>;
using HeaderList = std::unique_ptr<curl_slist, Closing<curl_slist_free_all>>;
using URLHandle = std::unique_ptr<CURLU, Closing<curl_url_cleanup>>;

std::string_view described(Code code)
{
    switch (code) {
    case Code::unknown: break;
    case Code::cancelled: return "The request was cancelled.";
    case Code::badURL: return "The address is not valid.";
    case Code::badHeader: return "What is sent along with the request has a line break in it.";
    case Code::insecureConnection: return "Only this machine can be reached without encryption.";
    case Code::timedOut: return "The server took too long to answer.";
    case Code::cannotFindHost: return "The server was not found.";
    case Code::cannotConnectToHost: return "The server could not be reached.";
    case Code::notConnectedToInternet: return "This machine is not connected to the internet.";
    case Code::dataNotAllowed: return "The network may not be used.";
    case Code::networkConnectionLost: return "The connection was lost.";
    case Code::secureConnectionFailed: return "No secure connection could be made to the server.";
    case Code::serverCertificateUntrusted: return "The server's certificate is not trusted.";
    case Code::replyTooLarge: return "The server's answer is too large.";
    }
    return "The request failed.";
}

std::optional<std::string> part(CURLU* url, CURLUPart which)
{
    char* text = nullptr;
    if (curl_url_get(url, which, &text, 0) != CURLUE_OK) return std::nullopt;
    std::string copy = text;
    curl_free(text);
    return copy;
}

bool isThisMachine(const std::string& host)
{
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24 == 127;
    return host == "localhost" || host == "[::1]";
}

/// Where a request goes.
struct Destination {
    bool isEncrypted = false;
    bool isThisMachine = false;

    /// Nothing for what is no web address, and for one with a name and password in it.
    static std::optional<Destination> of(const std::string& text)
    {
        const URLHandle url(curl_url());
        if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) return std::nullopt;
        const std::optional<std::string> scheme = part(url.get(), CURLUPART_SCHEME), host = part(url.get(), CURLUPART_HOST);
        if (!host || (scheme != "https" && scheme != "http") || part(url.get(), CURLUPART_USER)) return std::nullopt;
        return Destination{scheme == "https", larkspool::isThisMachine(*host)};
    }
};

bool canStandInHeader(std::string_view text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) == text.npos;
}

/// Whether any interface beside the one to this machine itself has an address.
bool hasNetwork()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return true;
    bool found = false;
    for (const ifaddrs* interface = first; interface && !found; interface = interface->ifa_next) {
        const bool isUp = (interface->ifa_flags & IFF_UP) && (interface->ifa_flags & IFF_RUNNING);
        if (!isUp || (interface->ifa_flags & IFF_LOOPBACK) || !interface->ifa_addr) continue;
        found = interface->ifa_addr->sa_family == AF_INET || interface->ifa_addr->sa_family == AF_INET6;
    }
    freeifaddrs(first);
    return found;
}

URLError failure(CURLcode code, long systemError)
{
    switch (code) {
    case CURLE_URL_MALFORMAT: return URLError(Code::badURL);
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY: return URLError(hasNetwork() ? Code::cannotFindHost : Code::notConnectedToInternet);
    case CURLE_COULDNT_CONNECT:
        return URLError(systemError == ENETUNREACH || systemError == ENETDOWN ? Code::notConnectedToInternet
                                                                              : Code::cannotConnectToHost);
    case CURLE_OPERATION_TIMEDOUT: return URLError(Code::timedOut);
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM: return URLError(Code::networkConnectionLost);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CIPHER: return URLError(Code::secureConnectionFailed);
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR: return URLError(Code::serverCertificateUntrusted);
    case CURLE_FILESIZE_EXCEEDED: return URLError(Code::replyTooLarge);
    default: return URLError(Code::unknown, curl_easy_strerror(code));
    }
}

bool isNoHTTP(CURLcode code)
{
    // The first stands for a reply without a status line; the scheme was looked at before.
    return code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY;
}

long milliseconds(double seconds)
{
    constexpr double longest = 1e9; // 11 days. 0 would stand for the library's own choice.
    return static_cast<long>(std::clamp(std::ceil(seconds * 1000), 1.0, longest));
}

/// One request, sent by a worker, which also waits for the reply. The main thread may cancel it meanwhile.
class Transfer {
public:
    Transfer(URLRequest request, const URLSessionConfiguration& configuration)
        : request_(std::move(request)), configuration_(configuration), multi_(curl_multi_init())
    {}

    /// On the worker.
    URLResult perform()
    {
        const std::optional<Destination> destination = Destination::of(request_.url);
        if (!destination) return URLError(Code::badURL);
        if (!destination->isEncrypted && !destination->isThisMachine) return URLError(Code::insecureConnection);
        for (const auto& [name, value] : request_.headers)
            if (!canStandInHeader(name) || !canStandInHeader(value)) return URLError(Code::badHeader);

        const HeaderList headers = headerList();
        const EasyHandle easy(curl_easy_init());
        if (!multi_ || !easy) return URLError(Code::unknown);
        setUp(easy.get(), *destination, headers.get());

        if (curl_multi_add_handle(multi_.get(), easy.get()) != CURLM_OK) return URLError(Code::unknown);
        URLResult result = run(easy.get());
        curl_multi_remove_handle(multi_.get(), easy.get());
        return result;
    }

    /// From another thread. `perform` then returns soon.
    void cancel()
    {
        isCancelled_ = true;
        if (multi_) curl_multi_wakeup(multi_.get());
    }

private:
    HeaderList headerList() const
    {
        HeaderList list;
        const auto append = [&](const std::string& line) {
            curl_slist* longer = curl_slist_append(list.get(), line.c_str());
            if (!longer) throw std::bad_alloc();
            (void)list.release();
            list.reset(longer);
        };
        // An empty value is written with a semicolon here; a colon would take the header away.
        for (const auto& [name, value] : request_.headers) append(value.empty() ? name + ";" : name + ": " + value);
        append("Expect:"); // Nobody waits for a leave to send the body.
        return list;
    }

    void setUp(CURL* easy, const Destination& destination, curl_slist* headers)
    {
        curl_easy_setopt(easy, CURLOPT_URL, request_.url.c_str());
        curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, destination.isEncrypted ? "https" : "http");
        curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        if (destination.isThisMachine) curl_easy_setopt(easy, CURLOPT_PROXY, "");
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
        curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        if (!configuration_.trustedCertificates.empty()) {
            curl_easy_setopt(easy, CURLOPT_CAINFO, configuration_.trustedCertificates.c_str());
            curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
        }

        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request_.body.data());
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);

        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L); // A name that is looked up in vain holds nobody up.
        curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L); // The server thinks in silence; what lies between may forget us.
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(request_.timeoutInterval));
        curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(configuration_.largestReply));

        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::takeBody);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::takeHead);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
        curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Transfer::noteProgress);
        curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
        curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    }

    URLResult run(CURL* easy)
    {
        const auto interval = [](double seconds) { return std::chrono::milliseconds(milliseconds(seconds)); };
        const auto end = Clock::now() + interval(configuration_.timeoutIntervalForResource);
        lastByte_ = Clock::now();
        for (;;) {
            int running = 0;
            if (curl_multi_perform(multi_.get(), &running) != CURLM_OK) return URLError(Code::unknown);
            int queued = 0;
            while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &queued))
                if (message->msg == CURLMSG_DONE) return finished(easy, message->data.result);
            if (isCancelled_) return URLError(Code::cancelled);

            const auto deadline = std::min(end, lastByte_ + interval(configuration_.timeoutIntervalForRequest));
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (left <= 0) return URLError(Code::timedOut);
            constexpr long longestWait = 1000;
            const int wait = static_cast<int>(std::min<long>(left, longestWait));
            if (curl_multi_poll(multi_.get(), nullptr, 0, wait, nullptr) != CURLM_OK) return URLError(Code::unknown);
        }
    }

    URLResult finished(CURL* easy, CURLcode code)
    {
        if (isTooLarge_) return URLError(Code::replyTooLarge);
        if (isNoHTTP(code)) return URLReply{};
        if (code != CURLE_OK) {
            long systemError = 0;
            curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError);
            return failure(code, systemError);
        }
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        return URLReply{static_cast<int>(status), std::move(body_)};
    }

    static std::size_t takeBody(char* bytes, std::size_t, std::size_t count, void* self) noexcept
    {
        Transfer& transfer = *static_cast<Transfer*>(self);
        transfer.lastByte_ = Clock::now();
        transfer.isTooLarge_ = count > transfer.configuration_.largestReply - transfer.body_.size();
        if (transfer.isTooLarge_) return 0;
        transfer.body_.append(bytes, count);
        return count;
    }

    static std::size_t takeHead(char*, std::size_t, std::size_t count, void* self) noexcept
    {
        Transfer& transfer = *static_cast<Transfer*>(self);
        transfer.lastByte_ = Clock::now();
        transfer.headBytes_ += count;
        transfer.isTooLarge_ = transfer.headBytes_ > largestReplyHead;
        return transfer.isTooLarge_ ? 0 : count;
    }

    static int noteProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) noexcept
    {
        Transfer& transfer = *static_cast<Transfer*>(self);
        if (std::exchange(transfer.sent_, sent) != sent) transfer.lastByte_ = Clock::now();
        return 0;
    }

    const URLRequest request_;
    const URLSessionConfiguration configuration_;
    const MultiHandle multi_;
    std::atomic<bool> isCancelled_ = false;

    // Of the worker alone.
    std::string body_;
    std::size_t headBytes_ = 0;
    curl_off_t sent_ = 0;
    bool isTooLarge_ = false;
    Clock::time_point lastByte_{};
};

/// A peer that hangs up while it is written to is told by an error. The signal, which the encryption would raise too, ends the
/// program: it is held back on this thread.
void holdBackPipeSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

/// A transfer on a thread of its own, and whom it is told to.
class CurlWork final : public URLTask::Work {
public:
    CurlWork(RunLoop& runLoop, URLRequest request, const URLSessionConfiguration& configuration,
             URLSession::Completion completion)
        : transfer_(std::make_unique<Transfer>(std::move(request), configuration)),
          completion_(std::make_shared<URLSession::Completion>(std::move(completion))),
          worker_([&runLoop, transfer = transfer_.get(), completion = completion_] {
              holdBackPipeSignal();
              auto result = std::make_shared<URLResult>(transfer->perform());
              runLoop.post([completion, result] {
                  if (const URLSession::Completion call = std::exchange(*completion, nullptr)) call(std::move(*result));
              });
          })
    {}

    ~CurlWork() override
    {
        *completion_ = nullptr;
        transfer_->cancel();
        worker_.join();
    }

private:
    std::unique_ptr<Transfer> transfer_;
    std::shared_ptr<URLSession::Completion> completion_; ///< Touched on the main thread alone; empty once called or given up.
    std::thread worker_;
};

void startUp()
{
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (started != CURLE_OK) throw std::runtime_error(curl_easy_strerror(started));
}

} // namespace

URLError::URLError(Code code, const std::string& detail)
    : std::runtime_error(std::string(described(code)) + (detail.empty() ? "" : " " + detail)), code_(code)
{}

URLTask CurlURLSession::dataTask(URLRequest request, Completion completion)
{
    startUp();
    return URLTask(std::make_unique<CurlWork>(runLoop_, std::move(request), configuration_, std::move(completion)));
}

} // namespace larkspool
