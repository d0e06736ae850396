// Two readers of URLs: after read(), host() and path() are valid until the next call. The path has the query with it.
#pragma once

#include <curl/curl.h>
#include <memory>
#include <string>
#include <string_view>
#include <uriparser/Uri.h>

namespace bench {

class UriparserReader {
public:
    bool read(std::string_view url) {
        UriUriA uri{};
        const char* error = nullptr;
        if (uriParseSingleUriExA(&uri, url.data(), url.data() + url.size(), &error) !=
            URI_SUCCESS) {
            return false;
        }
        host_ = {uri.hostText.first,
                 static_cast<size_t>(uri.hostText.afterLast - uri.hostText.first)};
        const char* end = url.data() + url.size();
        path_ = {uri.hostText.afterLast, static_cast<size_t>(end - uri.hostText.afterLast)};
        uriFreeUriMembersA(&uri);
        return true;
    }
    std::string_view host() const { return host_; }
    std::string_view path() const { return path_; }

private:
    std::string_view host_;
    std::string_view path_;
};

class CurlReader {
public:
    CurlReader() : url_(curl_url(), curl_url_cleanup) {}

    bool read(std::string_view url) {
        text_ = url;  // libcurl takes a text with a zero byte at its end
        if (curl_url_set(url_.get(), CURLUPART_URL, text_.c_str(), 0) != CURLUE_OK ||
            !get(CURLUPART_HOST, host_) || !get(CURLUPART_PATH, path_)) {
            return false;
        }
        if (get(CURLUPART_QUERY, query_)) {
            path_ += '?';
            path_ += query_;
        }
        return true;
    }
    std::string_view host() const { return host_; }
    std::string_view path() const { return path_; }

private:
    bool get(CURLUPart part, std::string& out) const {
        char* text = nullptr;
        if (curl_url_get(url_.get(), part, &text, 0) != CURLUE_OK) {
            return false;
        }
        out = text;
        curl_free(text);
        return true;
    }

    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url_;
    std::string text_;
    std::string host_;
    std::string path_;
    std::string query_;
};

}  // namespace bench
