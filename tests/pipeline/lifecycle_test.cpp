// Opening and closing of both families: every failure point, in order, with nothing left behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/engine_fixture.h"
#include "vantro/algo_context.h"
#include "vantro/vantro.h"

namespace {

// Faults of the dynamic loader, and what it was asked for. The linker leads the library's calls to
// the functions below (-Wl,--wrap); the sanitizers' own are left alone.
struct LoaderFaults {
  bool fail_open;
  const char* missing_symbol;  // null: none
  int opens;                   // of libPlimra.so, successful ones
  int closes;                  // of the same
};
LoaderFaults loader = {};
void* engine_library = nullptr;

}  // namespace

extern "C" {

void* __real_dlopen(const char* file, int mode);
void* __real_dlsym(void* library, const char* name);
int __real_dlclose(void* library);

void* __wrap_dlopen(const char* file, int mode) {
  const bool engine = std::strcmp(file, "libPlimra.so") == 0;
  if (engine && loader.fail_open) return nullptr;
  void* library = __real_dlopen(file, mode);
  if (engine && library != nullptr) {
    engine_library = library;
    ++loader.opens;
  }
  return library;
}

void* __wrap_dlsym(void* library, const char* name) {
  const bool missing =
      loader.missing_symbol != nullptr && std::strcmp(name, loader.missing_symbol) == 0;
  return missing ? nullptr : __real_dlsym(library, name);
}

int __wrap_dlclose(void* library) {
  if (library == engine_library) ++loader.closes;
  return __real_dlclose(library);
}

}  // extern "C"

namespace vantro::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

struct Family {
  std::string name;
  int32_t (*init)(void**, const char*, MemPool*);
  int32_t (*deinit)(void**);
  std::string property_prefix;
  int32_t create_mode;
  // Names of the blocks that Init takes, that Deinit releases, and that a failed Init releases.
  std::string opening;
  std::string closing;
  std::vector<std::string> unwinding;
  std::vector<std::string> errors;  // what Init logs without each of its blocks; empty: nothing
};

const Family kVideo = {
    "Vantro",
    Vantro_Init,
    Vantro_Deinit,
    "vendor.qzVantro.",
    0,
    "init_box init_box_vantro init_cxt cxt_ptr->algoInterface mask lastMask flash_flag move_flag "
    "area ",
    "init_cxt lastMask mask init_box_vantro init_box flash_flag move_flag area "
    "cxt_ptr->algoInterface ",
    {"move_flag", "flash_flag", "lastMask", "mask", "cxt_ptr->algoInterface", "init_cxt",
     "init_box", "init_box_vantro"},
    {"[vantro] Vantro_Init cxt_ptr->box err!", "[vantro] Vantro_Init cxt_ptr->box_vantro err!", "",
     "cxt_ptr->algoInterface is malloc failed!\n", "cxt_ptr->mask is malloc failed\n",
     "cxt_ptr->mask is malloc failed\n", "cxt_ptr->mask is malloc failed\n",
     "cxt_ptr->move_flag is malloc failed\n", "cxt_ptr->move_flag is malloc failed\n"}};

const Family kPhoto = {
    "VantroPhoto",
    VantroPhoto_Init,
    VantroPhoto_Deinit,
    "vendor.qzVantroPhoto.",
    2,
    "init_box box_vantro init_cxt cxt_ptr->algoInterface mask lastMask ",
    "init_cxt lastMask mask box_vantro init_box cxt_ptr->algoInterface ",
    {"mask", "cxt_ptr->algoInterface", "init_cxt", "init_box", "box_vantro"},
    {"[vantro] Vantro_Init cxt_ptr->box err!", "[vantro] Vantro_Init cxt_ptr->box_vantro err!", "",
     "cxt_ptr->algoInterface  ERROR\n", "cxt_ptr->mask error!\n", "cxt_ptr->lastMask error!\n"}};

// Of the events of one kind, a blank behind each.
std::string Names(const std::vector<std::string>& events, char kind) {
  std::string names;
  for (const std::string& event : events) {
    if (event[0] == kind) names += event.substr(1, event.find(':') - 1) + ' ';
  }
  return names;
}

class Lifecycle : public EngineFixture, public ::testing::WithParamInterface<const Family*> {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    loader = LoaderFaults();
  }
  const Family& family() const { return *GetParam(); }

  // A failed opening: nothing stays behind.
  void ExpectFailure(int32_t code) {
    void* handle = &handle;
    EXPECT_EQ(family().init(&handle, "tuning.xml", pool_.get()), code);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(pool_.live(), 0u);
    EXPECT_EQ(loader.opens, loader.closes);
    EXPECT_EQ(script().alive, 0);
  }
};

// The whole log with the switch on, line by line, and every block.
TEST_P(Lifecycle, OpensAndCloses) {
  const bool video = &family() == &kVideo;
  const std::string& prefix = family().property_prefix;
  const std::string& name = family().name;
  Properties()[prefix + "printlog"] = "1";
  void* handle = nullptr;
  ASSERT_EQ(family().init(&handle, "tune.xml", pool_.get()), 0);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(*static_cast<uint32_t*>(handle), 201809060u);
  EXPECT_EQ(Names(pool_.events, '+'), family().opening);
  EXPECT_THAT(pool_.events, Contains("+init_cxt:520"));
  EXPECT_THAT(pool_.events, Contains("+mask:3072"));
  EXPECT_EQ(script().create_mode, family().create_mode);
  EXPECT_EQ(script().model_dir, "/vendor/etc/camera/cnnmodel/imagesegmentation/");
  EXPECT_EQ(loader.closes, 0);

  EXPECT_EQ(family().deinit(&handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(Names(pool_.events, '-'), family().closing);
  EXPECT_EQ(loader.opens, 1);
  EXPECT_EQ(loader.closes, 1);
  EXPECT_EQ(script().destroys, 1);

  const int banner = video ? 4 : 6;
  const int level = video ? 3 : 6;
  const std::string video_tag = "QZA_MVANTRO";
  const std::string tag = video ? video_tag : "QZA_VANTRO_PHOTO";
  const std::string gap = video ? "\t" : "  ";
  EXPECT_THAT(
      LinesButOfThreads(),
      ElementsAre(
          LogLine{banner, tag, name + "_Init VERSION_is 20190301 "},
          LogLine{3, video_tag, "--- DEBUG ---get " + prefix + "printlog debug flag mask 1"},
          LogLine{3, video_tag, "--- DEBUG ---get " + prefix + "isDumpImg debug flag mask 0"},
          LogLine{level, tag, "[vantro] Vantro_Init version=201809060"},
          LogLine{banner, tag,
                  video ? "Vantro_Init loadxml, tune.xml fail,use inner value"
                        : "Vantro_Init load tune.xml fail!"},
          LogLine{level, tag, "dlopen libPlimra.so is begin\n"},
          LogLine{level, tag, "dlopen libPlimra.so success\n"},
          LogLine{level, tag, "dlsym" + gap + "libPlimra.so success\n"},
          LogLine{level, tag,
                  "_LINK_SegPlimra_Creat success" + gap + "Seg_OUTPUT_W=64, Seg_OUTPUT_H=48\n"},
          LogLine{level, tag, "init success\n"},
          LogLine{banner, tag, name + "_Deinit VERSION_is 20190301 "},
          LogLine{4, video ? video_tag : "VANTRO", "[vantro] Vantro_Deinit"},
          LogLine{banner, tag,
                  video ? "VANTRO_destory success!\n" : "vantro_photo_dinit _success!\n"}));
  EXPECT_THAT(log_.timing_labels(),
              ElementsAre(video ? "Vantro_Deinit_end_" : "VantroPHOTO_Deinit_end_"));
}

TEST_P(Lifecycle, EveryFailedAllocationUnwinds) {
  for (size_t i = 0; i < family().errors.size(); ++i) {
    SCOPED_TRACE(i);
    pool_.events.clear();
    pool_.FailAt(pool_.allocations() + static_cast<int>(i));
    log_.clear();
    ExpectFailure(i < 2 ? -2001 : -2000);
    const LogLine error = {6, "QZA_MVANTRO", family().errors[i]};
    const std::vector<LogLine> lines = log_.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), error), error.text.empty() ? 0 : 1);
    std::string released;
    const std::string taken = ' ' + Names(pool_.events, '+');
    for (const std::string& name : family().unwinding) {
      if (taken.find(' ' + name + ' ') != std::string::npos) released += name + ' ';
    }
    EXPECT_EQ(Names(pool_.events, '-'), released);
  }
}

TEST_P(Lifecycle, LoaderAndEngineFailuresUnwind) {
  loader.fail_open = true;
  ExpectFailure(-2000);
  EXPECT_TRUE(log_.contains("dlopen libPlimra.so ERROR\n"));
  loader.fail_open = false;

  for (const char* symbol : {"Plimra_Create", "Plimra_Process", "Plimra_Destroy"}) {
    log_.clear();
    loader.missing_symbol = symbol;
    ExpectFailure(-2000);
    EXPECT_TRUE(log_.contains("dlsym  ERROR\n")) << symbol;
  }
  loader.missing_symbol = nullptr;

  script().create_result = 7;
  ExpectFailure(-2000);
  EXPECT_TRUE(log_.contains("error: race_detect_create error!\n"));
  EXPECT_EQ(script().destroys, 0);
  script().create_result = 0;

  // Mask sizes that no buffer can have.
  for (const auto& [width, height] : {std::pair{-256, 256}, {-256, -256}, {1 << 20, 1 << 20}}) {
    script().mask_width = width;
    script().mask_height = height;
    ExpectFailure(-2000);
  }
}

TEST_P(Lifecycle, RefusesBadArguments) {
  const bool video = &family() == &kVideo;
  const std::string input_error = family().name + "_Init input error!, xml_name(";
  const auto expect_refusal = [&](int32_t code, int32_t expected, const char* tag,
                                  const std::string& text) {
    EXPECT_EQ(code, expected);
    const LogLine line = log_.lines().back();
    EXPECT_EQ((LogLine{line.level, line.tag, line.text.substr(0, text.size())}),
              (LogLine{6, tag, text}));
  };
  void* handle = &handle;
  const char* tag = video ? "QZA_MVANTRO" : "QZA_VANTRO_PHOTO";
  expect_refusal(family().init(nullptr, "x", pool_.get()), -1, tag, input_error);
  expect_refusal(family().init(&handle, nullptr, pool_.get()), -1, tag, input_error + "(nil)");
  EXPECT_EQ(handle, nullptr);
  MemPool no_free = *pool_.get();
  no_free.free = nullptr;
  MemPool no_alloc = *pool_.get();
  no_alloc.alloc = nullptr;
  for (MemPool* pool : {static_cast<MemPool*>(nullptr), &no_free, &no_alloc}) {
    expect_refusal(family().init(&handle, "x", pool), -2001, video ? "VANTRO" : "QZA_MVANTRO",
                   "[vantro] Vantro_Init mempool err!");
  }
  EXPECT_EQ(pool_.allocations(), 0);
  expect_refusal(family().deinit(&handle), 0, "QZA_MVANTRO",
                 video ? "cxt_ptr is null,Vantro_Deinit is failed\n"
                       : "cxt_ptr is null,VantroPhoto_Deinit is falied\n");
}

TEST_P(Lifecycle, ReadsItsSwitches) {
  for (const char* value : {"1", "1abc", "0", "", "true", " 1"}) {
    const bool on = value[0] == '1';
    log_.clear();
    Properties()[family().property_prefix + "printlog"] = value;
    void* handle = nullptr;
    ASSERT_EQ(family().init(&handle, "x", pool_.get()), 0);
    EXPECT_TRUE(log_.contains("--- DEBUG ---get " + family().property_prefix +
                              "printlog debug flag mask " + (on ? "1" : "0")));
    EXPECT_EQ(log_.contains("dlopen libPlimra.so is begin\n"), on) << value;
    family().deinit(&handle);
  }
}

TEST_P(Lifecycle, ClosesNothingThatIsNotItsOwn) {
  EXPECT_EQ(family().deinit(nullptr), 0);
  void* handle = nullptr;
  const Family& other = &family() == &kVideo ? kPhoto : kVideo;
  ASSERT_EQ(other.init(&handle, "x", pool_.get()), 0);
  const size_t held = pool_.live();
  EXPECT_EQ(family().deinit(&handle), 0);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(pool_.live(), held);
  // A failed destroy is logged, and the handle closes.
  script().destroy_result = 5;
  EXPECT_EQ(other.deinit(&handle), 0);
  EXPECT_TRUE(log_.contains("cxt_ptr->LINK_SegPlimra_Destroy is error\n"));
  EXPECT_EQ(handle, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Families, Lifecycle, ::testing::Values(&kVideo, &kPhoto),
                         [](const auto& test) {
                           return std::string(test.param == &kVideo ? "Video" : "Photo");
                         });

TEST(AlgoContext, HoldsTheTuningAndTheContrastCurve) {
  TrackingPool pool;
  ParamBlock params = {};
  for (int i = 0; i < 23; ++i) reinterpret_cast<int32_t*>(&params.tuning)[i] = 1000 + i;
  AlgoCxt* cxt = BuildAlgoCxt(&params, pool.get());
  ASSERT_NE(cxt, nullptr);
  EXPECT_EQ(cxt->magic, 0xEAEAEAu);
  EXPECT_EQ(cxt->pool, pool.get());
  EXPECT_EQ(cxt->roi_state, 0);
  EXPECT_EQ(cxt->maskup, nullptr);
  EXPECT_EQ(std::memcmp(&cxt->tuning, &params.tuning, sizeof(params.tuning)), 0);
  // In single precision, multiplied first.
  for (int i = 0; i < 256; ++i) {
    const float v = static_cast<float>(i);
    float g = (v * 5.0f) / 25.0f;
    if (i > 25) g = ((v - 25.0f) * 245.0f) / 205.0f + 5.0f;
    if (i > 229) g = ((v - 255.0f + 25.0f) * 5.0f) / 25.0f + 250.0f;
    EXPECT_EQ(cxt->contrastTable[i], static_cast<int>(g + 0.5f)) << i;
  }
  pool.get()->free(cxt, "init_cxt", 0);
  pool.FailAt(1);
  EXPECT_EQ(BuildAlgoCxt(&params, pool.get()), nullptr);
}

}  // namespace
}  // namespace vantro::test
