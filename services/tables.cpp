// The service tables and the thread-limit entries of liboxl_services.
#include "oxl/omp_services.h"
#include "services.h"
#include "thread_limit.h"

namespace oxl::services {
namespace {

template <class Team>
constexpr SSThreadServices kStatisticsTable = {
    &ForEachItem<Team>, &ForEachItemDynamic<Team>, &RunOnEachThread<Team>, nullptr,
    &ThreadCount<Team>,
};

template <class Team>
constexpr thread_services kFittingTable = {
    &ForEachItem<Team>, nullptr, nullptr, nullptr, &ThreadCount<Team>,
};

}  // namespace
}  // namespace oxl::services

using oxl::services::OmpTeam;
using oxl::services::SerialTeam;

extern "C" {

OXL_API const SSThreadServices* oxl_services_omp_ss(void) {
  return &oxl::services::kStatisticsTable<OmpTeam>;
}

OXL_API const thread_services* oxl_services_omp_df(void) {
  return &oxl::services::kFittingTable<OmpTeam>;
}

OXL_API const SSThreadServices* oxl_services_serial_ss(void) {
  return &oxl::services::kStatisticsTable<SerialTeam>;
}

OXL_API const thread_services* oxl_services_serial_df(void) {
  return &oxl::services::kFittingTable<SerialTeam>;
}

OXL_API void oxl_services_set_num_threads(int32_t count) { oxl::services::SetThreadLimit(count); }

OXL_API int32_t oxl_services_get_num_threads(void) { return oxl::services::ThreadLimit(); }

}  // extern "C"
