#include "harness/vectors.h"

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace test {

namespace {

[[noreturn]] void stop(const std::string& where, const std::string& message) {
    std::cerr << where << ": " << message << "\n";
    std::exit(2);
}

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

Bytes from_hex(std::string_view hex) {
    if (hex.size() % 2 != 0) stop("from_hex", "odd number of digits");
    Bytes out;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        const int high = digit(hex[i]);
        const int low = digit(hex[i + 1]);
        if (high < 0 || low < 0) stop("from_hex", "not hex: " + std::string(hex));
        out.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return out;
}

std::string to_hex(const Bytes& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (const std::uint8_t byte : bytes) {
        out += kDigits[byte >> 4];
        out += kDigits[byte & 15];
    }
    return out;
}

const std::string& Record::text(const std::string& field) const {
    const auto it = fields.find(field);
    if (it == fields.end()) stop(where, "no field " + field);
    return it->second;
}

std::vector<Record> load_vectors(const std::string& path) {
    std::ifstream file(std::string(TALVERN_VECTOR_DIR) + "/" + path);
    if (!file) stop(path, "cannot be opened");

    std::vector<Record> records;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string where = path + ":" + std::to_string(number);
        if (line.empty() || line[0] == '#') continue;
        if (line.front() == '[' && line.back() == ']') {
            records.push_back({line.substr(1, line.size() - 2), where, {}});
            continue;
        }
        const std::size_t equals = line.find(" =");
        if (equals == std::string::npos || records.empty()) stop(where, "malformed line");
        const std::size_t value = std::min(line.size(), equals + 3);
        records.back().fields[line.substr(0, equals)] = line.substr(value);
    }
    if (records.empty()) stop(path, "holds no record");
    return records;
}

} // namespace test
