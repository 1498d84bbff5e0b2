// Fetches block lists over HTTP and HTTPS with libcurl, for the engine's list loader. Only the
// program links it: the engine knows just the ListFetcher interface.
#pragma once

#include "host/block_lists.h"

#include <atomic>

namespace quorvane {

class CurlFetcher : public ListFetcher {
public:
    CurlFetcher();
    ~CurlFetcher() override;
    CurlFetcher(const CurlFetcher&) = delete;
    CurlFetcher& operator=(const CurlFetcher&) = delete;

    // At most 5 redirects, certificates checked against the system's store (or the file that
    // CURL_CA_BUNDLE names), a conditional request from the saved copy's date and entity tag, at
    // most 256 MB, and a time-out; the copy is replaced only by a whole new list.
    FetchOutcome fetch(const std::string& address, const std::filesystem::path& savedCopy) override;
    void cancel() override { m_cancelled = true; }

private:
    std::atomic<bool> m_cancelled = false;
};

} // namespace quorvane
