#include "maxmind_database.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <endian.h>
#include <filesystem>
#include <maxminddb.h>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "handles.h"
#include "peer_memory.h"
#include "prefixes.h"

namespace bench {
namespace {

// The binary tree. A record is a node's place from 1 on, or a rule with its highest bit set, or 0.
class Tree {
public:
    static constexpr uint32_t RULE = uint32_t{1} << 31U;

    // A rule takes what no longer prefix has.
    template <typename Address>
    void add(const Interval<Address>& prefix, uint32_t rule) {
        const uint32_t length = prefixLength(prefix);
        uint32_t node = 0;
        for (uint32_t i = 0; i + 1 < length; ++i) {
            node = below(node, bitOf(prefix.first, i) ? 1 : 0);
        }
        fill(node, bitOf(prefix.first, length - 1) ? 1 : 0, RULE | rule);
    }

    const std::vector<std::array<uint32_t, 2>>& nodes() const { return nodes_; }

private:
    uint32_t below(uint32_t node, uint32_t side) {
        if (nodes_[node][side] == 0) {
            nodes_.push_back({0, 0});
            nodes_[node][side] = static_cast<uint32_t>(nodes_.size() - 1);
        }
        return nodes_[node][side];
    }

    // Longer prefixes are here before, so that a place has a rule only of the same prefix.
    void fill(uint32_t node, uint32_t side, uint32_t rule) {
        const uint32_t next = nodes_[node][side];
        if (next == 0) {
            nodes_[node][side] = rule;
        } else if ((next & RULE) == 0) {
            fill(next, 0, rule);
            fill(next, 1, rule);
        }
    }

    std::vector<std::array<uint32_t, 2>> nodes_ = {{0, 0}};
};

// ------------------------------------------------------------------------------------------------ the file

constexpr size_t SEPARATOR_BYTES = 16;
constexpr size_t NUMBER_BYTES = 5;  // of a rule in the data: a control byte, and 32 bits

// Fields of the metadata, as the format writes them: the type in three bits, the length in five.
std::string field(uint32_t type, std::string_view bytes) {
    constexpr uint32_t FIRST_EXTENDED = 8;
    const auto length = static_cast<uint32_t>(bytes.size());
    std::string written;
    if (type < FIRST_EXTENDED) {
        written += static_cast<char>(type << 5U | length);
    } else {
        written += static_cast<char>(length);
        written += static_cast<char>(type - 7);
    }
    return written + std::string(bytes);
}

std::string textField(std::string_view text) {
    return field(2, text);
}

std::string numberField(uint32_t type, uint64_t number, size_t length) {
    const uint64_t bytes = htobe64(number);
    const std::string_view view(reinterpret_cast<const char*>(&bytes), sizeof(bytes));
    return field(type, view.substr(sizeof(bytes) - length));
}

std::string metadata(uint64_t nodeCount, uint32_t ipVersion) {
    constexpr uint32_t SIZE_16 = 5;
    constexpr uint32_t SIZE_32 = 6;
    constexpr uint32_t SIZE_64 = 9;
    const auto map = [](uint32_t entries) {
        return std::string(1, static_cast<char>(7 << 5U | entries));
    };
    return "\xAB\xCD\xEFMaxMind.com" + map(9) + textField("node_count") +
           numberField(SIZE_32, nodeCount, 4) + textField("record_size") +
           numberField(SIZE_16, 32, 2) + textField("ip_version") +
           numberField(SIZE_16, ipVersion, 2) + textField("database_type") + textField("rules") +
           textField("languages") + std::string("\0\x04", 2) +
           textField("binary_format_major_version") + numberField(SIZE_16, 2, 2) +
           textField("binary_format_minor_version") + numberField(SIZE_16, 0, 2) +
           textField("build_epoch") + numberField(SIZE_64, 1, 8) + textField("description") +
           map(0);
}

template <typename Address>
Tree treeOf(const Intervals<Address>& rules) {
    Tree tree;
    for (size_t i = 0; i < rules.size(); ++i) {
        tree.add(rules[i], static_cast<uint32_t>(i));
    }
    return tree;
}

void writeAll(std::FILE* file, const void* bytes, size_t length) {
    require(std::fwrite(bytes, 1, length, file) == length, "the database is not written");
}

void writeTree(std::FILE* file, const Tree& tree) {
    const auto count = static_cast<uint32_t>(tree.nodes().size());
    const auto record = [count](uint32_t next) {
        if (next == 0) {
            return htobe32(count);
        }
        const bool isRule = (next & Tree::RULE) != 0;
        const auto place = static_cast<uint32_t>((next & ~Tree::RULE) * NUMBER_BYTES);
        return htobe32(isRule ? count + static_cast<uint32_t>(SEPARATOR_BYTES) + place : next);
    };
    for (const auto& node : tree.nodes()) {
        const std::array<uint32_t, 2> records = {record(node[0]), record(node[1])};
        writeAll(file, records.data(), sizeof(records));
    }
}

struct CloseDatabase {
    void operator()(MMDB_s* database) const {
        MMDB_close(database);
        delete database;
    }
};

template <typename Address>
std::shared_ptr<void> makeDatabase(const Intervals<Address>& rules) {
    std::string path = std::filesystem::temp_directory_path() / "peer_bench.XXXXXX";
    const int descriptor = mkstemp(path.data());
    std::FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
    require(file != nullptr, "no file for the database");
    const Tree tree = treeOf(rules);
    writeTree(file, tree);
    writeAll(file, std::string(SEPARATOR_BYTES, '\0').data(), SEPARATOR_BYTES);
    for (size_t i = 0; i < rules.size(); ++i) {
        const std::string number = numberField(6, i + 1, 4);
        writeAll(file, number.data(), number.size());
    }
    const std::string about = metadata(tree.nodes().size(), addressBits(Address{}) == 32 ? 4 : 6);
    writeAll(file, about.data(), about.size());
    countMappedFile(static_cast<uint64_t>(std::ftell(file)));
    require(std::fclose(file) == 0, "the database is not written");

    std::unique_ptr<MMDB_s, CloseDatabase> database(new MMDB_s{});
    const int status = MMDB_open(path.c_str(), MMDB_MODE_MMAP, database.get());
    unlink(path.c_str());
    require(status == MMDB_SUCCESS, MMDB_strerror(status));
    return database;
}

uint32_t numberAt(const void* database, const sockaddr* address) {
    int error = MMDB_SUCCESS;
    MMDB_lookup_result_s found =
        MMDB_lookup_sockaddr(static_cast<const MMDB_s*>(database), address, &error);
    if (!found.found_entry) {
        return 0;
    }
    constexpr std::array<const char*, 1> WHOLE = {nullptr};
    MMDB_entry_data_s data{};
    const int status = MMDB_aget_value(&found.entry, &data, WHOLE.data());
    return status == MMDB_SUCCESS && data.has_data ? data.uint32 : 0;
}

}  // namespace

MaxMindDatabase::MaxMindDatabase(const Intervals<Ipv4>& rules) : database_(makeDatabase(rules)) {}
MaxMindDatabase::MaxMindDatabase(const Intervals<Ipv6>& rules) : database_(makeDatabase(rules)) {}

uint32_t MaxMindDatabase::find(Ipv4 key) const {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(key);
    return numberAt(database_.get(), reinterpret_cast<const sockaddr*>(&address));
}

uint32_t MaxMindDatabase::find(const Ipv6Bytes& key) const {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    std::memcpy(&address.sin6_addr, key.data(), key.size());
    return numberAt(database_.get(), reinterpret_cast<const sockaddr*>(&address));
}

}  // namespace bench
