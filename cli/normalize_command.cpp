#include "normalize_command.h"

#include <ruleset.h>

#include <nlohmann/json.hpp>

#include "exit_status.h"
#include "json_output.h"
#include "line_blocks.h"
#include "lines.h"
#include "text_output.h"

namespace cli {

namespace {

// Normalizes URLs, one after the other, and prints the results.
class Normalizer {
public:
    explicit Normalizer(const NormalizeOptions& options) : options_(options), output_(false) {}

    // Messages name the URL by place and number.
    void normalize(std::string_view url, const char* place, uint64_t number) {
        // A piece is at most as long as the URL, with two exceptions: an empty path becomes "/",
        // and an IPv6 literal or an encoded host may grow.
        const size_t room = url.size() * 4 + 64;
        scheme_.resize(room);
        host_.resize(room);
        path_.resize(room);
        const auto capacity = static_cast<uint32_t>(room);
        NormalizedUrl record{};
        record.scheme = scheme_.data();
        record.schemeLength = capacity;
        record.host = host_.data();
        record.hostLength = capacity;
        record.path = path_.data();
        record.pathLength = capacity;
        record.keepPathCase = options_.keepCase ? 1 : 0;
        if (rs_normalize_URL(url.data(), static_cast<uint32_t>(url.size()), &record) != RULE_OK) {
            hasBadUrl_ = true;
            output_.flush();
            printRefusal(place, number, "no canonical form", url);
            return;
        }
        print({record.scheme, record.schemeLength}, {record.host, record.hostLength}, record.port,
              {record.path, record.pathLength});
    }

    int finish() {
        output_.flush();
        return hasBadUrl_ ? EXIT_TROUBLE : EXIT_YES;
    }

private:
    void print(std::string_view scheme, std::string_view host, uint16_t port,
               std::string_view path) {
        if (options_.asJson) {
            nlohmann::ordered_json object;
            object["scheme"] = scheme;
            object["host"] = host;
            object["port"] = port;
            object["path"] = path;
            output_.write(jsonText(object));
        } else {
            output_.write(scheme);
            output_.write('\t');
            output_.write(host);
            output_.write('\t');
            output_.writeNumber(port);
            output_.write('\t');
            output_.write(path);
        }
        output_.endLine();
    }

    const NormalizeOptions& options_;
    Output output_;
    std::string scheme_;
    std::string host_;
    std::string path_;
    bool hasBadUrl_ = false;
};

}  // namespace

int runNormalize(const NormalizeOptions& options) {
    Normalizer normalizer(options);
    uint64_t number = 0;
    for (const std::string& url : options.urls) {
        normalizer.normalize(url, "url", ++number);
    }
    if (options.urls.empty()) {
        const InputFile input("-");
        const StopSignal stop;
        LineBlocks blocks(input, stop);
        for (LineBlock block; blocks.next(block);) {
            Lines lines(block.lines());
            std::string_view url;
            for (number = block.firstLine(); lines.next(url); ++number) {
                if (!url.empty()) {
                    normalizer.normalize(url, "-", number);
                }
            }
        }
    }
    return normalizer.finish();
}

}  // namespace cli
