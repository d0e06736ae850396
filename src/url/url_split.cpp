#include "url/url_split.h"

#include <ruleset.h>

#include "syntax/ascii.h"

namespace rs {

namespace {

constexpr uint32_t MAX_PORT = 65535;

bool endsAuthority(char byte) noexcept {
    return byte == '/' || byte == '?' || byte == '#';
}

UrlPiece piece(const char* first, const char* end) noexcept {
    return {first, static_cast<uint32_t>(end - first)};
}

// A walk over a URL from left to right, one step per operation.
class Splitter {
public:
    Splitter(const char* text, uint32_t length, UrlParts& parts) noexcept
        : at_(text), end_(text + length), hostStart_(text), parts_(parts) {}

    const char* split() noexcept {
        if (*at_ == '/') {
            splitAfterSlash();
        } else {
            if (*at_ != '[') {
                scanStart();
            }
            scanAuthority();
        }
        return portColon_;
    }

private:
    // "//authority", or a path alone.
    void splitAfterSlash() noexcept {
        if (end_ - at_ < 2 || at_[1] != '/') {
            parts_.rest = piece(at_, end_);
            return;
        }
        endScheme(at_ + 2);
        scanAfterScheme();
        scanAuthority();
    }

    // The beginning of a text, which may turn out to be a scheme, user information or a host. Stops
    // where the authority goes on without either before it. The text does not begin with '/'.
    void scanStart() noexcept {
        for (; at_ != end_ && *at_ != '?' && *at_ != '#' && *at_ != '['; ++at_) {
            if (*at_ == '@') {
                endUserInfo();
                return;
            }
            if (*at_ == ':') {
                portColon_ = at_;
            } else if (*at_ == '/') {
                if (at_[-1] != ':' || at_ + 1 == end_ || at_[1] != '/') {
                    return;
                }
                portColon_ = nullptr;
                endScheme(at_ + 2);
                scanAfterScheme();
                return;
            }
        }
    }

    // Behind a scheme, up to the end of user information; or to where the authority has none.
    void scanAfterScheme() noexcept {
        for (; at_ != end_ && !endsAuthority(*at_) && *at_ != '['; ++at_) {
            if (*at_ == '@') {
                endUserInfo();
                return;
            }
            if (*at_ == ':') {
                portColon_ = at_;
            }
        }
    }

    // The rest of the authority, and what follows it.
    void scanAuthority() noexcept {
        for (; at_ != end_ && !endsAuthority(*at_); ++at_) {
            if (*at_ == ':') {
                portColon_ = at_;
            } else if (*at_ == ']') {
                portColon_ = nullptr;
            }
        }
        if (at_ != end_) {
            parts_.rest = piece(at_, end_);
        }
        endHost();
    }

    void endScheme(const char* behind) noexcept {
        parts_.scheme = piece(hostStart_, behind);
        at_ = behind;
        hostStart_ = behind;
    }

    void endUserInfo() noexcept {
        ++at_;
        parts_.userInfo = piece(hostStart_, at_);
        hostStart_ = at_;
    }

    // The host ends here, or before the colon of a valid port.
    void endHost() noexcept {
        const char* hostEnd = at_;
        if (portColon_ != nullptr && readPort()) {
            parts_.portText = piece(portColon_, at_);
            hostEnd = portColon_;
        }
        if (hostEnd > hostStart_) {
            parts_.host = piece(hostStart_, hostEnd);
        }
    }

    bool readPort() noexcept {
        uint32_t port = 0;
        for (const char* digit = portColon_ + 1; digit != at_; ++digit) {
            if (!isDecimalDigit(*digit) || (*digit == '0' && port == 0)) {
                return false;
            }
            port = port * 10 + static_cast<uint32_t>(*digit - '0');
            if (port > MAX_PORT) {
                return false;
            }
        }
        parts_.port = port;
        return port != 0;
    }

    const char* at_;
    const char* const end_;
    const char* hostStart_;
    UrlParts& parts_;
    const char* portColon_ = nullptr;
};

}  // namespace

int32_t splitUrl(const char* text, uint32_t length, UrlParts* parts,
                 const char** portColon) noexcept {
    if (text == nullptr || length == 0 || parts == nullptr || portColon == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    *parts = {};
    *portColon = Splitter(text, length, *parts).split();
    return RULE_OK;
}

}  // namespace rs
