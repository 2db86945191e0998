// The noise sources as they feed the seed pool of the older generator. They are the collector's sources;
// the pool takes their bytes without credit.
#include "random/noise.h"
#include "talvern/random.h"

using namespace vrq;

namespace {

void add(void*, const u8* data, u32 length, u32) { SEED_add(data, length); }

constexpr noise::Sink kPool{nullptr, add, nullptr};

} // namespace

void vrq_Get_Process_Stat_Info() { noise::process_stat(kPool); }
void vrq_Get_Process_Status_Info() { noise::process_status(kPool); }
void vrq_Get_Process_Task_Info() { noise::process_task(kPool); }
void vrq_Get_System_Info() { noise::system(kPool); }
void vrq_Get_System_Stat_Info() { noise::system_stat(kPool); }
void vrq_Get_CPU_Info() { noise::cpu(kPool); }
void vrq_Get_Disk_Info() { noise::disk(kPool); }
void vrq_Get_Sleep_Time_Info() { noise::sleep_time(kPool); }
void vrq_Get_CPU_Speed_Info() { noise::cpu_speed(kPool); }
void vrq_Get_System_Memory_Info() { noise::system_memory(kPool); }
void vrq_Get_Network_Traffic_Info() { noise::network_traffic(kPool); }
void vrq_Get_Current_Process_Info() { noise::current_process(kPool); }
void vrq_Get_Current_Time_Info() { noise::current_time(kPool); }
void vrq_Get_System_RNG_Info(i32 count) { noise::system_rng(kPool, count); }
void vrq_Get_Battery_Info() { noise::battery(kPool); }
void vrq_Get_Shared_Memory_Info() { noise::shared_memory(kPool); }
void vrq_Get_Fork_Response_Info() { noise::fork_response(kPool); }
