// Known-answer files: comment lines, then records parted by empty lines. A record opens with [name]
// and goes on with lines "field = value"; byte strings are hex.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;

Bytes from_hex(std::string_view hex);
std::string to_hex(const Bytes& bytes);

struct Record {
    std::string name;
    std::string where; // file and line, for messages
    std::map<std::string, std::string> fields;

    bool has(const std::string& field) const { return fields.count(field) != 0; }
    const std::string& text(const std::string& field) const; // fails the test when missing
    Bytes bytes(const std::string& field) const { return from_hex(text(field)); }
    long number(const std::string& field) const { return std::stol(text(field)); }
};

// Reads tests/vectors/<path>; a missing or malformed file fails the run.
std::vector<Record> load_vectors(const std::string& path);

} // namespace test
