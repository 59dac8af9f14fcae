// The core library finds the threader functions by name once liboxl_services is loaded, also when
// it is loaded at run time; before that, the serial versions answer, and a name it does not know
// finds nothing.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <vector>

#include "oxl/platform.h"
#include "oxl/threading.h"

namespace {

constexpr const char* kLimitName = "oxl_vrs_serv_threader_get_num_threads_limit";
constexpr const char* kForName = "oxl_vrs_serv_threader_for";

TEST(ServicesLibrary, ThreaderFunctionsFoundOnceLoaded) {
  ASSERT_EQ(dlsym(RTLD_DEFAULT, kForName), nullptr) << "this test must not link the services";
  auto serial_limit =
      reinterpret_cast<oxl_threader_get_num_threads_limit_fn>(oxl_serv_load_thread_fun(kLimitName));
  ASSERT_NE(serial_limit, nullptr);
  EXPECT_EQ(serial_limit(), 1);
  std::vector<int32_t> seen;
  reinterpret_cast<oxl_threader_for_fn>(oxl_serv_load_thread_fun(kForName))(
      5, &seen, [](int32_t i, int32_t thread, int32_t threads, void* context) {
        EXPECT_TRUE(thread == 0 && threads == 1);
        static_cast<std::vector<int32_t>*>(context)->push_back(i);
      });
  EXPECT_EQ(seen, (std::vector<int32_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(oxl_serv_load_thread_fun("no_such_function"), nullptr);
  EXPECT_EQ(oxl_serv_load_thread_fun(nullptr), nullptr);

  void* library = dlopen(OXL_SERVICES_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(oxl_serv_load_thread_fun(kLimitName), dlsym(library, kLimitName));
  EXPECT_EQ(oxl_serv_load_thread_fun(kForName), dlsym(library, kForName));

  auto set_limit =
      reinterpret_cast<void (*)(int32_t)>(dlsym(library, "oxl_services_set_num_threads"));
  ASSERT_NE(set_limit, nullptr);
  set_limit(3);
  auto limit =
      reinterpret_cast<oxl_threader_get_num_threads_limit_fn>(oxl_serv_load_thread_fun(kLimitName));
  EXPECT_EQ(limit(), 3);
  auto threader_for = reinterpret_cast<oxl_threader_for_fn>(oxl_serv_load_thread_fun(kForName));
  std::atomic<int64_t> sum{0};
  std::atomic<int32_t> team{0};
  struct Context {
    std::atomic<int64_t>* sum;
    std::atomic<int32_t>* team;
  } context{&sum, &team};
  threader_for(100, &context, [](int32_t i, int32_t, int32_t thread_count, void* c) {
    static_cast<Context*>(c)->sum->fetch_add(i);
    static_cast<Context*>(c)->team->store(thread_count);
  });
  EXPECT_EQ(sum.load(), 4950);
  EXPECT_EQ(team.load(), 3);
  EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
