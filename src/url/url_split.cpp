#include "url/url_split.h"

#include <cstring>

#include "syntax/byte_block.h"
#include "syntax/number.h"

namespace rs {

namespace {

constexpr NumberForm PORT{
    .maxLength = 5, .minValue = 1, .maxValue = UINT16_MAX, .leadingZeros = LeadingZeros::REFUSED};

// The next byte that means something in an authority, or end.
const char* findDelimiter(const char* at, const char* end) noexcept {
    return findInClass(at, end, [](ByteBlock block) noexcept {
        return block.equalTo(':') | block.equalTo('/') | block.equalTo('@') | block.equalTo('?') |
               block.equalTo('#') | block.equalTo('[') | block.equalTo(']');
    });
}

// The length of the schemes that nearly all URLs have, which no walk needs to find; 0 for other beginnings.
uint32_t usualSchemeLength(Text url) noexcept {
    constexpr Text HTTPS = literalText("https://");
    constexpr Text HTTP = literalText("http://");
    if (url.length < HTTPS.length) {
        return 0;
    }
    if (std::memcmp(url.text, HTTPS.text, HTTPS.length) == 0) {
        return HTTPS.length;
    }
    return std::memcmp(url.text, HTTP.text, HTTP.length) == 0 ? HTTP.length : 0;
}

bool endsAuthority(char byte) noexcept {
    return byte == '/' || byte == '?' || byte == '#';
}

// A walk over a URL from left to right, one step per operation.
class Splitter {
public:
    explicit Splitter(Text url) noexcept
        : at_(url.begin()), end_(url.end()), hostStart_(url.begin()) {}

    UrlParts split() noexcept {
        if (const uint32_t scheme = usualSchemeLength(textBetween(at_, end_)); scheme != 0) {
            endScheme(at_ + scheme);
            scanAfterScheme();
            scanAuthority();
        } else if (*at_ == '/') {
            splitAfterSlash();
        } else {
            if (*at_ != '[') {
                scanStart();
            }
            scanAuthority();
        }
        return parts_;
    }

private:
    // "//authority", or a path alone.
    void splitAfterSlash() noexcept {
        if (end_ - at_ < 2 || at_[1] != '/') {
            parts_.rest = textBetween(at_, end_);
            return;
        }
        endScheme(at_ + 2);
        scanAfterScheme();
        scanAuthority();
    }

    // The beginning of a text, which may turn out to be a scheme, user information or a host. Stops
    // after the first two, or where there can be neither any more. The text does not begin with
    // '/', so at_[-1] is there when a '/' is met.
    void scanStart() noexcept {
        for (; at_ != end_ && *at_ != '?' && *at_ != '#' && *at_ != '['; stepOver()) {
            if (*at_ == '@') {
                endUserInfo();
                return;
            }
            if (*at_ == ':') {
                parts_.portColon = at_;
            } else if (*at_ == '/') {
                if (at_[-1] != ':' || at_ + 1 == end_ || at_[1] != '/') {
                    return;
                }
                parts_.portColon = nullptr;
                endScheme(at_ + 2);
                scanAfterScheme();
                return;
            }
        }
    }

    // The text after a scheme: up to the end of user information, or to where there can be none.
    void scanAfterScheme() noexcept {
        for (; at_ != end_ && !endsAuthority(*at_) && *at_ != '['; stepOver()) {
            if (*at_ == '@') {
                endUserInfo();
                return;
            }
            if (*at_ == ':') {
                parts_.portColon = at_;
            }
        }
    }

    // The rest of the authority, and what follows it.
    void scanAuthority() noexcept {
        for (; at_ != end_ && !endsAuthority(*at_); stepOver()) {
            if (*at_ == ':') {
                parts_.portColon = at_;
            } else if (*at_ == ']') {
                parts_.portColon = nullptr;
            }
        }
        if (at_ != end_) {
            parts_.rest = textBetween(at_, end_);
        }
        endHost();
    }

    // To the next delimiter after the byte here.
    void stepOver() noexcept { at_ = findDelimiter(at_ + 1, end_); }

    void endScheme(const char* behind) noexcept {
        parts_.scheme = textBetween(hostStart_, behind);
        at_ = behind;
        hostStart_ = behind;
    }

    void endUserInfo() noexcept {
        ++at_;
        parts_.userInfo = textBetween(hostStart_, at_);
        hostStart_ = at_;
    }

    // The host ends here, or before the colon of a valid port.
    void endHost() noexcept {
        const char* hostEnd = at_;
        if (parts_.portColon != nullptr && readPort()) {
            parts_.portText = textBetween(parts_.portColon, at_);
            hostEnd = parts_.portColon;
        }
        if (hostEnd > hostStart_) {
            parts_.host = textBetween(hostStart_, hostEnd);
        }
    }

    bool readPort() noexcept {
        return readNumber<PORT>(textBetween(parts_.portColon + 1, at_), parts_.port);
    }

    const char* at_;
    const char* const end_;
    const char* hostStart_;
    UrlParts parts_{};
};

}  // namespace

UrlParts splitUrl(Text url) noexcept {
    return url.isEmpty() ? UrlParts{} : Splitter(url).split();
}

}  // namespace rs
