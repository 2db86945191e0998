// Prints src/pubkey/kcdsa_stored_params.cpp: KCDSA domains from the module's own search, with HAS-160 for p
// of 1024 bits and SHA-256 for p of 2048 bits, each from a seed of its own.
// Usage: make_kcdsa_params > src/pubkey/kcdsa_stored_params.cpp
#include "pubkey/ff_params.h"
#include "pubkey/kcdsa_stored_params.h"
#include "talvern.h"

#include <cstdio>
#include <cstdlib>

namespace {

using namespace vrq;

[[noreturn]] void stop(u32 status) {
    std::fprintf(stderr, "make_kcdsa_params: status 0x%08X\n", status);
    std::exit(EXIT_FAILURE);
}

void print_number(const VRQ_BIGINT* a) {
    std::printf("{");
    for (i32 i = a->used; i-- > 0;) {
        const char* const before = (a->used - 1 - i) % 8 == 0 ? "\n" : " ";
        std::printf("%s0x%08X,", before, a->data[i]);
    }
    std::printf("},\n");
}

void print_domain(VRQ_KCDSA_UNIT* unit, ff::Lengths lengths, u32 digest) {
    if (!ff::make_seed(unit->seed, unit->seed_length, lengths.q_bits)) stop(0);
    const ff::Domain domain = {unit->p, unit->q,    unit->g,      unit->j,
                               unit->h, unit->seed, &unit->count, unit->pool};
    const ff::Plan plan = {{VRQ_L_KCDSA, VRQ_F_GENERATE_KCDSA_PARAMS_EX},
                           lengths,
                           digest,
                           ff::kFullLimit,
                           true,
                           nullptr,
                           ff::draw_random_seed};
    bool exhausted = false;
    if (const u32 status = ff::search(domain, plan, exhausted); status != 0) stop(status);
    // A top word of zeros in g would shift what follows.
    if (unit->g->used != static_cast<i32>(lengths.p_bits / 32)) {
        print_domain(unit, lengths, digest);
        return;
    }
    std::printf("{");
    for (const VRQ_BIGINT* number : {unit->p, unit->q, unit->g}) print_number(number);
    std::printf("},\n");
}

void print_table(ff::Lengths lengths, u32 digest) {
    VRQ_KCDSA_UNIT* const unit = VRQ_New_KCDSA();
    if (unit == nullptr) stop(0);
    for (VRQ_BIGINT** member : {&unit->p, &unit->q, &unit->g, &unit->j, &unit->h})
        *member = VRQ_New_BIGINT();
    std::printf("\nconst StoredDomain<%u, %u> kStored%u[kStoredDomains] = {\n", lengths.p_bits,
                lengths.q_bits, lengths.p_bits);
    for (u32 i = 0; i < kcdsa::kStoredDomains; ++i) print_domain(unit, lengths, digest);
    std::printf("};\n");
    VRQ_Free_KCDSA(unit);
}

} // namespace

int main() {
    VRQ_Change_Non_Proven_Mode();
    std::printf("// Made by tools/make_kcdsa_params; do not edit.\n"
                "// clang-format off\n"
                "#include \"pubkey/kcdsa_stored_params.h\"\n\n"
                "namespace vrq::kcdsa {\n");
    print_table({1024, 160}, VRQ_ID_HAS160);
    print_table({2048, 256}, VRQ_ID_SHA256);
    std::printf("\n} // namespace vrq::kcdsa\n");
    return EXIT_SUCCESS;
}
