// Checks what the command answered in the demonstration against the files of country ranges
// themselves, by walking their lines from the first to the last. It shares no code with the library
// nor with geoip_input.
//
//     usage: geoip_check GEOIP GEOIP6 PROBES KEYS ANSWERS COUNT
//
//     GEOIP, GEOIP6  the files that the rules were made from; the id of a rule counts their ranges
//     PROBES         what the command answered for the first address of every range, in that order:
//                    each range must be found, under its own id
//     KEYS, ANSWERS  addresses, and what the command answered for them; the first COUNT are checked
//
// Prints what it counted; the exit status is 1 when anything differs.
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "answers.h"

namespace {

using demo::Answer;
using demo::nextAnswer;
using demo::stop;

__extension__ using Number = unsigned __int128;

// The ranges of one file, column by column, because a walk reads two of the columns only.
struct Table {
    std::vector<Number> first;
    std::vector<Number> last;
    std::vector<unsigned long> value;  // of the country
    unsigned long idBefore = 0;        // the id of the rule before the first one
};

Number readIpv6(const std::string& text) {
    in6_addr address{};
    if (inet_pton(AF_INET6, text.c_str(), &address) != 1) {
        stop("not an IPv6 address: " + text);
    }
    Number number = 0;
    for (const uint8_t byte : address.s6_addr) {
        number = number * 256 + byte;
    }
    return number;
}

Number readIpv4(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        stop("not an IPv4 address: " + text);
    }
    return ntohl(address.s_addr);
}

bool isIpv6(const std::string& text) {
    return text.find(':') != std::string::npos;
}

Number readAddress(const std::string& text) {
    return isIpv6(text) ? readIpv6(text) : readIpv4(text);
}

Table readTable(const char* path) {
    Table table;
    std::ifstream file = demo::openAnswers(path);
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 1, "#") == 0) {
            continue;
        }
        const std::vector<std::string> fields = demo::split(line, ',');
        if (fields.size() != 3 || fields[2].size() != 2) {
            stop(std::string(path) + ": unexpected line " + line);
        }
        // IPv4 addresses stand in their file as decimal numbers.
        const bool ipv6 = isIpv6(fields[0]);
        table.first.push_back(ipv6 ? readIpv6(fields[0]) : std::stoul(fields[0]));
        table.last.push_back(ipv6 ? readIpv6(fields[1]) : std::stoul(fields[1]));
        table.value.push_back(static_cast<unsigned char>(fields[2][0]) * 256UL +
                              static_cast<unsigned char>(fields[2][1]));
    }
    return table;
}

// Walks a table from its first line on. The answer that the command should give.
Answer scan(const Table& table, const std::string& key) {
    const Number number = readAddress(key);
    for (size_t i = 0; i < table.first.size(); ++i) {
        if (table.first[i] <= number && number <= table.last[i]) {
            return {key, table.value[i], table.idBefore + i + 1};
        }
    }
    return {key, 0, 0};
}

// Counts the ranges whose first address was not answered with the range itself. An address without an
// answer is recognised by the next answer being for another one.
size_t countLostRanges(const Table& table, std::istream& probes, Answer& answer) {
    size_t lost = 0;
    for (size_t i = 0; i < table.first.size(); ++i) {
        const bool answered = !answer.key.empty() && readAddress(answer.key) == table.first[i];
        if (!answered || answer.id != table.idBefore + i + 1 || answer.value != table.value[i]) {
            ++lost;
        }
        if (answered) {
            answer = nextAnswer(probes);
        }
    }
    return lost;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        stop("usage: geoip_check GEOIP GEOIP6 PROBES KEYS ANSWERS COUNT");
    }
    const Table ipv4 = readTable(argv[1]);
    Table ipv6 = readTable(argv[2]);
    ipv6.idBefore = ipv4.first.size();

    std::ifstream probes = demo::openAnswers(argv[3]);
    Answer probe = nextAnswer(probes);
    const size_t lost = countLostRanges(ipv4, probes, probe) + countLostRanges(ipv6, probes, probe);
    std::printf("%zu ranges checked, %zu not found\n", ipv4.first.size() + ipv6.first.size(), lost);

    std::ifstream keys = demo::openAnswers(argv[4]);
    std::ifstream answers = demo::openAnswers(argv[5]);
    const int status = demo::report(
        demo::compareAnswers(
            keys, answers, static_cast<uint32_t>(std::stoul(argv[6])),
            [&](const std::string& key) { return scan(isIpv6(key) ? ipv6 : ipv4, key); },
            [](const Answer& expected, const Answer& given) {
                return expected.id == given.id && expected.value == given.value;
            }),
        "addresses");
    return lost == 0 ? status : 1;
}
