// The libcurl fetcher: one easy handle per fetch, on the list loader's worker thread. The list is
// written to a temporary file beside the saved copy and renamed over it once complete; the
// server's date goes on the file and its entity tag beside it, for the next conditional request.
#include "curl_fetcher.h"
#include "net/atomic_file.h"

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace quorvane {

namespace {

constexpr curl_off_t kMaxListBytes = 256LL << 20;
constexpr long kConnectSeconds = 30;
constexpr long kTotalSeconds = 600;

struct Download {
    std::FILE* file = nullptr;
    curl_off_t bytes = 0;
    std::string etag;
};

size_t writeBody(char* data, size_t size, size_t count, void* user)
{
    auto& download = *static_cast<Download*>(user);
    const size_t length = size * count;
    download.bytes += static_cast<curl_off_t>(length);
    if (download.bytes > kMaxListBytes) return 0; // a body without a length that runs past the cap
    return std::fwrite(data, 1, length, download.file);
}

// Keeps the ETag header of the last response (a redirect's own headers come first).
size_t readHeader(char* data, size_t size, size_t count, void* user)
{
    const std::string_view line(data, size * count);
    auto& download = *static_cast<Download*>(user);
    if (line.size() > 5 && (line.starts_with("ETag:") || line.starts_with("etag:") || line.starts_with("ETAG:"))) {
        std::string_view value = line.substr(5);
        while (!value.empty() && (value.front() == ' ' || value.front() == '\t')) value.remove_prefix(1);
        while (!value.empty() && (value.back() == '\r' || value.back() == '\n' || value.back() == ' '))
            value.remove_suffix(1);
        download.etag = value;
    } else if (line.starts_with("HTTP/")) {
        download.etag.clear();
    }
    return size * count;
}

// Asked about a second while a transfer runs: non-zero ends it.
int checkCancelled(void* cancelled, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<std::atomic<bool>*>(cancelled)->load() ? 1 : 0;
}

std::string readSmallFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::string text(256, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(in.gcount()));
    return text;
}

} // namespace

CurlFetcher::CurlFetcher() { curl_global_init(CURL_GLOBAL_DEFAULT); }

CurlFetcher::~CurlFetcher() { curl_global_cleanup(); }

FetchOutcome CurlFetcher::fetch(const std::string& address, const std::filesystem::path& savedCopy)
{
    FetchOutcome outcome;
    outcome.source = address;
    const std::filesystem::path partial = savedCopy.string() + ".part";
    const std::filesystem::path etagFile = savedCopy.string() + ".etag";
    if (m_cancelled) {
        outcome.error = "the program is closing";
        return outcome;
    }
    Download download;
    download.file = std::fopen(partial.c_str(), "wb");
    if (download.file == nullptr) {
        outcome.error = "cannot write " + partial.string();
        return outcome;
    }
    const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
    curl_slist* headers = nullptr;
    std::error_code error;
    const bool haveCopy = std::filesystem::exists(savedCopy, error);
    if (haveCopy) {
        const std::string etag = readSmallFile(etagFile);
        if (!etag.empty()) headers = curl_slist_append(headers, ("If-None-Match: " + etag).c_str());
        const auto written = std::filesystem::last_write_time(savedCopy, error);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
            std::filesystem::file_time_type::clock::to_sys(written).time_since_epoch());
        curl_easy_setopt(curl.get(), CURLOPT_TIMECONDITION, static_cast<long>(CURL_TIMECOND_IFMODSINCE));
        curl_easy_setopt(curl.get(), CURLOPT_TIMEVALUE_LARGE, static_cast<curl_off_t>(seconds.count()));
    }
    char message[CURL_ERROR_SIZE] = {};
    CURL* c = curl.get();
    curl_easy_setopt(c, CURLOPT_URL, address.c_str());
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(c, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(c, CURLOPT_MAXFILESIZE_LARGE, kMaxListBytes);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    curl_easy_setopt(c, CURLOPT_TIMEOUT, kTotalSeconds);
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_FILETIME, 1L);
    curl_easy_setopt(c, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(c, CURLOPT_ERRORBUFFER, message);
    curl_easy_setopt(c, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, writeBody);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &download);
    curl_easy_setopt(c, CURLOPT_HEADERFUNCTION, readHeader);
    curl_easy_setopt(c, CURLOPT_HEADERDATA, &download);
    curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, checkCancelled);
    curl_easy_setopt(c, CURLOPT_XFERINFODATA, &m_cancelled);
    // Certificates are always checked; a test or a private list server names its own CA file.
    if (const char* bundle = std::getenv("CURL_CA_BUNDLE"); bundle != nullptr && *bundle != '\0')
        curl_easy_setopt(c, CURLOPT_CAINFO, bundle);
    const CURLcode result = curl_easy_perform(c);
    curl_slist_free_all(headers);
    const bool flushed = std::fclose(download.file) == 0;
    long status = 0;
    curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &status);
    if (result != CURLE_OK || !flushed || (status != 200 && status != 304)) {
        std::filesystem::remove(partial, error);
        if (result == CURLE_WRITE_ERROR && download.bytes > kMaxListBytes) outcome.error = "larger than 256 MB";
        else if (result != CURLE_OK) outcome.error = *message != '\0' ? message : curl_easy_strerror(result);
        else if (!flushed) outcome.error = "cannot write " + partial.string();
        else outcome.error = "HTTP status " + std::to_string(status);
        return outcome;
    }
    outcome.ok = true;
    if (status == 304) {
        std::filesystem::remove(partial, error);
        return outcome;
    }
    std::filesystem::rename(partial, savedCopy, error);
    if (error) {
        outcome.ok = false;
        outcome.error = "cannot write " + savedCopy.string();
        return outcome;
    }
    outcome.changed = true;
    curl_off_t modified = -1;
    curl_easy_getinfo(c, CURLINFO_FILETIME_T, &modified);
    if (modified >= 0) {
        const auto when = std::chrono::system_clock::time_point(std::chrono::seconds(modified));
        std::filesystem::last_write_time(savedCopy, std::filesystem::file_time_type::clock::from_sys(when), error);
    }
    if (download.etag.empty())
        std::filesystem::remove(etagFile, error);
    else
        writeFileAtomically(etagFile, download.etag);
    return outcome;
}

} // namespace quorvane
