// Reader of the counter tables under /proc/net. A header line "Ip: InReceives InDelivers ..." stands
// above a value line "Ip: 4093 12 ..."; the counter is named by prefix and field, "IpInReceives".
// The values are matched with the names from the end of both lines.
#include "random/counter_tables.h"

#include "foundation/scope.h"
#include "random/system_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace vrq::noise {

namespace {

constexpr std::size_t kLine = 4096;

constexpr std::string_view kWanted[] = {"IpInReceives",   "IpInDelivers", "IpOutRequests",
                                        "TcpInSegs",      "TcpOutSegs",   "UdpInDatagrams",
                                        "UdpOutDatagrams"};

// Pieces of a line. (The members of string_view that cut would throw.)
std::string_view between(const char* first, const char* last) {
    return {first, static_cast<std::size_t>(last - first)};
}

bool is_wanted(std::string_view prefix, std::string_view field) {
    return std::any_of(std::begin(kWanted), std::end(kWanted), [&](std::string_view name) {
        if (name.size() != prefix.size() + field.size() || !name.starts_with(prefix)) return false;
        name.remove_prefix(prefix.size());
        return name == field;
    });
}

// Cuts the last name off; empty when there is none left.
std::string_view cut_name(std::string_view& names) {
    while (!names.empty() && (names.back() == ' ' || names.back() == '\n')) names.remove_suffix(1);
    const char* const end = names.data() + names.size();
    while (!names.empty() && names.back() != ' ' && names.back() != '\n') names.remove_suffix(1);
    return between(names.data() + names.size(), end);
}

// Joins the names of a header with the values below it; both start behind the colon.
void join(std::string_view prefix, std::string_view names, char* values, Counters& counters) {
    const std::size_t first = counters.count;
    for (char* blank; (blank = std::strrchr(values, ' ')) != nullptr;) {
        const char* text = blank + 1;
        u64 value;
        if (!take_decimal(text, value)) std::abort();
        *blank = '\0';

        const std::string_view name = cut_name(names);
        if (name.empty()) std::abort(); // more values than names
        if (value == 0 || counters.count == Counters::kMost || !is_wanted(prefix, name)) continue;
        counters.values[counters.count++] = value;
    }
    std::reverse(counters.values + first, counters.values + counters.count);
}

} // namespace

void load_counters(const char* path, Counters& counters) {
    SystemFile file(path);
    if (!file.is_open()) return;

    char header[kLine];
    char values[kLine];
    const WipeOnExit wiped(values);
    while (file.line(header, sizeof header)) {
        const char* colon = std::strchr(header, ':');
        if (colon == nullptr || !file.line(values, sizeof values)) std::abort();

        const std::string_view prefix = between(header, colon);
        if (std::strncmp(values, header, prefix.size() + 1) != 0) std::abort();
        join(prefix, colon + 1, values + prefix.size() + 1, counters);
    }
}

} // namespace vrq::noise
