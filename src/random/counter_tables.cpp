// Reader of the counter tables under /proc/net. A header line "Ip: InReceives InDelivers ..." stands
// above a value line "Ip: 4093 12 ..."; the counter is named by prefix and field, "IpInReceives".
// The values are matched with the names from the end of both lines.
#include "random/counter_tables.h"

#include "foundation/wipe.h"
#include "random/system_file.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace vrq::noise {

namespace {

constexpr std::size_t kLine = 4096;

constexpr std::string_view kWanted[] = {"IpInReceives",   "IpInDelivers", "IpOutRequests",
                                        "TcpInSegs",      "TcpOutSegs",   "UdpInDatagrams",
                                        "UdpOutDatagrams"};

bool is_wanted(std::string_view prefix, std::string_view field) {
    return std::any_of(std::begin(kWanted), std::end(kWanted), [&](std::string_view name) {
        return name.size() == prefix.size() + field.size() &&
               name.substr(0, prefix.size()) == prefix && name.substr(prefix.size()) == field;
    });
}

// Cuts the last name off; empty when there is none left.
std::string_view cut_name(std::string_view& names) {
    const std::size_t last = names.find_last_not_of(" \n");
    if (last == names.npos) return {};
    names = names.substr(0, last + 1);

    const std::size_t before = names.find_last_of(" \n");
    const std::size_t start = before == names.npos ? 0 : before + 1;
    const std::string_view name = names.substr(start);
    names = names.substr(0, start);
    return name;
}

// Joins the names of a header with the values below it; both start behind the colon.
void join(std::string_view prefix, std::string_view names, char* values, Counters& counters) {
    const std::size_t first = counters.count;
    std::string_view rest = values;
    for (std::size_t blank; (blank = rest.find_last_of(' ')) != rest.npos;) {
        const char* text = values + blank + 1;
        u64 value;
        if (!take_decimal(text, value)) std::abort();
        values[blank] = '\0';
        rest = rest.substr(0, blank);

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
    while (file.line(header, sizeof header)) {
        const std::string_view names = header;
        const std::size_t colon = names.find(':');
        if (colon == names.npos || !file.line(values, sizeof values)) std::abort();

        const std::string_view labelled = names.substr(0, colon + 1);
        if (std::string_view(values).substr(0, labelled.size()) != labelled) std::abort();
        join(names.substr(0, colon), names.substr(labelled.size()), values + labelled.size(),
             counters);
    }
    wipe_object(values);
}

} // namespace vrq::noise
