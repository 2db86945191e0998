// Integrity of the library's own file: HMAC-SHA-256 (FIPS 198-1) over all that the loader maps,
// compared with the digest that tools/seal.py wrote into the file after linking. The writable
// segment counts as well: tables that hold addresses, what the loader is told to do, and the first
// values of variables stand in it.
//
// The segments are those of the loaded image, so nothing is parsed that could be damaged; the
// program headers of the file lie in the first segment and are digested with it. Digested as
// zeros are the section-header fields of the ELF header, which stripping changes, and the slot of
// the digest itself.
#include "foundation/scope.h"
#include "random/system_file.h"
#include "talvern/digest.h"
#include "talvern/mac.h"
#include "talvern/module.h"
#include "talvern/selftest.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <link.h>
#include <unistd.h>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) {
    return make_status(VRQ_L_SELF_TEST, VRQ_F_LIB_INTEGRITY_CHECK, reason);
}

// tools/seal.py holds the same key. It guards against damage, not against who can seal anew.
constexpr u8 kModuleKey[] = {'T', 'a', 'l', 'v', 'e', 'r', 'n', ' ', 'l', 'i', 'b',
                             'r', 'a', 'r', 'y', ' ', 'f', 'i', 'l', 'e', ' ', 'i',
                             'n', 't', 'e', 'g', 'r', 'i', 't', 'y', ' ', '1'};
constexpr std::size_t kDigestLength = 32;
static_assert(sizeof kModuleKey == kDigestLength);

// Where the digest stands. It is compared in the file; only its address is used here.
[[gnu::section(".talvern_seal"), gnu::used]] constexpr u8 kSlot[kDigestLength] = {};

struct Range {
    u64 start;
    u64 length;
};

// The image that holds the slot, as the loader keeps it: the library, or a program that is linked
// with the objects of the library.
struct Image {
    const ElfW(Phdr) * segments;
    std::size_t num_segments;
    const char* name;
    u64 slot_offset; // in the file
};

bool is_covered(const ElfW(Phdr) & segment) { return segment.p_type == PT_LOAD; }

int find_slot(dl_phdr_info* info, std::size_t, void* argument) {
    const u64 address = reinterpret_cast<std::uintptr_t>(kSlot) - info->dlpi_addr;
    for (std::size_t i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (!is_covered(segment) || address < segment.p_vaddr ||
            address - segment.p_vaddr >= segment.p_filesz)
            continue;
        *static_cast<Image*>(argument) = {info->dlpi_phdr, info->dlpi_phnum, info->dlpi_name,
                                          address - segment.p_vaddr + segment.p_offset};
        return 1;
    }
    return 0;
}

class File {
  public:
    File() = default;
    ~File() { close_now(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool open_path(const char* path) {
        close_now();
        // O_NONBLOCK: a pipe in its place must not hold us up
        descriptor_ = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        return descriptor_ >= 0;
    }

    // All bytes of the range, or false.
    bool read_at(u64 offset, u8* out, std::size_t size) const {
        while (size != 0) {
            const ssize_t count = pread(descriptor_, out, size, static_cast<off_t>(offset));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            out += count;
            offset += static_cast<u64>(count);
            size -= static_cast<std::size_t>(count);
        }
        return true;
    }

  private:
    void close_now() {
        if (descriptor_ >= 0) close(descriptor_);
        descriptor_ = -1;
    }

    int descriptor_ = -1;
};

// Opens what the kernel has mapped at the slot. Its path is absolute and follows a renamed file;
// one that was removed has none.
bool open_mapped(File& file) {
    const auto address = reinterpret_cast<std::uintptr_t>(kSlot);
    char line[PATH_MAX + 128];
    SystemFile maps("/proc/self/maps");
    while (maps.is_open() && maps.line(line, sizeof line)) {
        char* end;
        const u64 first = std::strtoull(line, &end, 16);
        if (*end != '-' || address < first || address >= std::strtoull(end + 1, nullptr, 16))
            continue;
        char* path = std::strchr(line, '/');
        if (path == nullptr) return false;
        path[std::strcspn(path, "\n")] = '\0';
        return file.open_path(path);
    }
    return false;
}

// The loader's name serves where the maps do not; a relative one may mean something else by now.
bool open_own(File& file, const Image& image) {
    if (open_mapped(file)) return true;
    return image.name != nullptr && image.name[0] == '/' && file.open_path(image.name);
}

// Clears what of the chunk at `offset` lies in the range.
void blank(u8* chunk, u64 offset, u64 size, const Range& range) {
    const u64 start = std::max(offset, range.start);
    const u64 end = std::min(offset + size, range.start + range.length);
    if (start < end) std::memset(chunk + (start - offset), 0, end - start);
}

bool digest_segment(VRQ_HMAC_UNIT* unit, const File& file, const ElfW(Phdr) & segment,
                    u64 slot_offset, SecretHeap& buffer) {
    const Range blanks[] = {{offsetof(ElfW(Ehdr), e_shoff), sizeof(ElfW(Ehdr)::e_shoff)},
                            {offsetof(ElfW(Ehdr), e_shentsize), 3 * sizeof(ElfW(Ehdr)::e_shnum)},
                            {slot_offset, kDigestLength}};
    static_assert(offsetof(ElfW(Ehdr), e_shstrndx) == offsetof(ElfW(Ehdr), e_shentsize) + 4);

    u64 offset = segment.p_offset;
    for (u64 left = segment.p_filesz; left != 0;) {
        const u64 size = std::min<u64>(left, buffer.size());
        if (!file.read_at(offset, buffer.data(), size)) return false;
        for (const Range& range : blanks) blank(buffer.data(), offset, size, range);
        if (VRQ_Update_HMAC(unit, buffer.data(), static_cast<i32>(size)) != 0) return false;
        offset += size;
        left -= size;
    }
    return true;
}

bool digest_image(const File& file, const Image& image, u8* out) {
    const Owned<VRQ_HMAC_UNIT, VRQ_Free_HMAC_Unit> unit(VRQ_New_HMAC_Unit());
    SecretHeap buffer(std::size_t{64} * 1024);
    if (!unit || !buffer) return false;
    if (VRQ_Init_HMAC(unit.get(), VRQ_ID_SHA256, kModuleKey, sizeof kModuleKey) != 0) return false;
    for (std::size_t i = 0; i < image.num_segments; ++i) {
        const ElfW(Phdr)& segment = image.segments[i];
        if (is_covered(segment) &&
            !digest_segment(unit.get(), file, segment, image.slot_offset, buffer))
            return false;
    }
    return VRQ_Final_HMAC(unit.get(), out, nullptr) == 0;
}

} // namespace

u32 vrq_Verify_DLL() {
    // Called directly, before the module is ready, this would otherwise hide which test failed.
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;

    Image image{};
    File file;
    u8 computed[kDigestLength];
    u8 sealed[kDigestLength];
    if (dl_iterate_phdr(find_slot, &image) == 0 || !open_own(file, image))
        return fail(VRQ_ERR_READ_FROM_FILE);
    if (!digest_image(file, image, computed) ||
        !file.read_at(image.slot_offset, sealed, sizeof sealed))
        return fail(VRQ_ERR_READ_FROM_FILE);
    return std::memcmp(computed, sealed, sizeof sealed) == 0 ? 0 : fail(VRQ_ERR_COMPARE_FAIL);
}
