// The collector: each source as an operation on an entropy unit, and the lists of sources a level
// runs.
#include "random/noise.h"
#include "talvern/random.h"

#include "foundation/wipe.h"

#include <span>

using namespace vrq;

namespace {

void add(void* owner, const u8* data, u32 length, u32 credit) {
    // A pool that cannot grow only stays smaller.
    vrq_Add_ENTROPY(static_cast<VRQ_ENTROPY_UNIT*>(owner), data, length, credit);
}

void forget(void* owner) {
    auto* unit = static_cast<VRQ_ENTROPY_UNIT*>(owner);
    if (unit == nullptr) return;
    if (unit->pool != nullptr) wipe(unit->pool, unit->pool_capacity);
    if (unit->digest != nullptr) wipe(unit->digest, unit->digest_length);
}

noise::Sink into(VRQ_ENTROPY_UNIT* unit) { return {unit, add, forget}; }

} // namespace

void vrq_Entropy_Get_Process_Stat_Info(VRQ_ENTROPY_UNIT* unit) { noise::process_stat(into(unit)); }
void vrq_Entropy_Get_Process_Status_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::process_status(into(unit));
}
void vrq_Entropy_Get_Process_Task_Info(VRQ_ENTROPY_UNIT* unit) { noise::process_task(into(unit)); }
void vrq_Entropy_Get_System_Info(VRQ_ENTROPY_UNIT* unit) { noise::system(into(unit)); }
void vrq_Entropy_Get_System_Stat_Info(VRQ_ENTROPY_UNIT* unit) { noise::system_stat(into(unit)); }
void vrq_Entropy_Get_CPU_Info(VRQ_ENTROPY_UNIT* unit) { noise::cpu(into(unit)); }
void vrq_Entropy_Get_Disk_Info(VRQ_ENTROPY_UNIT* unit) { noise::disk(into(unit)); }
void vrq_Entropy_Get_Sleep_Time_Info(VRQ_ENTROPY_UNIT* unit) { noise::sleep_time(into(unit)); }
void vrq_Entropy_Get_CPU_Speed_Info(VRQ_ENTROPY_UNIT* unit) { noise::cpu_speed(into(unit)); }
void vrq_Entropy_Get_System_Memory_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::system_memory(into(unit));
}
void vrq_Entropy_Get_Network_Traffic_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::network_traffic(into(unit));
}
void vrq_Entropy_Get_Current_Process_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::current_process(into(unit));
}
void vrq_Entropy_Get_Current_Time_Info(VRQ_ENTROPY_UNIT* unit) { noise::current_time(into(unit)); }
void vrq_Entropy_Get_System_RNG_Info(VRQ_ENTROPY_UNIT* unit, i32 count) {
    noise::system_rng(into(unit), count);
}
void vrq_Entropy_Get_Battery_Info(VRQ_ENTROPY_UNIT* unit) { noise::battery(into(unit)); }
void vrq_Entropy_Get_Shared_Memory_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::shared_memory(into(unit));
}
void vrq_Entropy_Get_Fork_Response_Info(VRQ_ENTROPY_UNIT* unit) {
    noise::fork_response(into(unit));
}

namespace {

using Source = void (*)(VRQ_ENTROPY_UNIT* unit);

void random_device(VRQ_ENTROPY_UNIT* unit) { vrq_Entropy_Get_System_RNG_Info(unit, 64); }

constexpr Source kProcessAndTime[] = {vrq_Entropy_Get_Current_Process_Info,
                                      vrq_Entropy_Get_Current_Time_Info, random_device};
constexpr Source kSystem[] = {
    vrq_Entropy_Get_Process_Stat_Info,   vrq_Entropy_Get_Process_Status_Info,
    vrq_Entropy_Get_Process_Task_Info,   vrq_Entropy_Get_System_Info,
    vrq_Entropy_Get_System_Stat_Info,    vrq_Entropy_Get_CPU_Info,
    vrq_Entropy_Get_Disk_Info,           vrq_Entropy_Get_Sleep_Time_Info,
    vrq_Entropy_Get_CPU_Speed_Info,      vrq_Entropy_Get_System_Memory_Info,
    vrq_Entropy_Get_Network_Traffic_Info};
constexpr Source kSlow[] = {vrq_Entropy_Get_Battery_Info, vrq_Entropy_Get_Shared_Memory_Info,
                            vrq_Entropy_Get_Fork_Response_Info};

void run(VRQ_ENTROPY_UNIT* unit, std::span<const Source> sources) {
    for (const Source source : sources) source(unit);
}

} // namespace

u32 vrq_Collect_ENTROPY(VRQ_ENTROPY_UNIT* unit) {
    if (unit == nullptr)
        return make_status(VRQ_L_ENTROPY, VRQ_F_COLLECT_ENTROPY, VRQ_ERR_INVALID_INPUT);
    if (unit->level < 1 || unit->level > 3) return 1;

    if (unit->level == 3) run(unit, kSlow);
    if (unit->level >= 2) run(unit, kSystem);
    run(unit, kProcessAndTime);
    wipe_stack(); // clocks and counters that the sources held
    return 0;
}
