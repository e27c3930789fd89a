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
using ::testing::ElementsAreArray;

struct Family {
  const char* name;
  int32_t (*init)(void**, const char*, MemPool*);
  int32_t (*deinit)(void**);
  const char* property_prefix;
  std::vector<std::string> allocations;  // names in the order of opening
  std::vector<std::string> unwinding;    // names in the order a failed opening releases them
  std::vector<std::string> closing;
  int32_t create_mode;
};

const Family kVideo = {"Vantro",
                       Vantro_Init,
                       Vantro_Deinit,
                       "vendor.qzVantro.",
                       {"init_box", "init_box_vantro", "init_cxt", "cxt_ptr->algoInterface", "mask",
                        "lastMask", "flash_flag", "move_flag", "area"},
                       {"move_flag", "flash_flag", "lastMask", "mask", "cxt_ptr->algoInterface",
                        "init_cxt", "init_box", "init_box_vantro"},
                       {"init_cxt", "lastMask", "mask", "init_box_vantro", "init_box", "flash_flag",
                        "move_flag", "area", "cxt_ptr->algoInterface"},
                       0};

const Family kPhoto = {
    "VantroPhoto",
    VantroPhoto_Init,
    VantroPhoto_Deinit,
    "vendor.qzVantroPhoto.",
    {"init_box", "box_vantro", "init_cxt", "cxt_ptr->algoInterface", "mask", "lastMask"},
    {"mask", "cxt_ptr->algoInterface", "init_cxt", "init_box", "box_vantro"},
    {"init_cxt", "lastMask", "mask", "box_vantro", "init_box", "cxt_ptr->algoInterface"},
    2};

// What a failed allocation of this name makes Init return and log; an empty text means no line.
struct AllocationFailure {
  int32_t code;
  std::string line;
};

AllocationFailure ExpectedFailure(const Family& family, const std::string& name) {
  const bool video = &family == &kVideo;
  if (name == "init_box") return {-2001, "[vantro] Vantro_Init cxt_ptr->box err!"};
  if (name == "init_box_vantro" || name == "box_vantro") {
    return {-2001, "[vantro] Vantro_Init cxt_ptr->box_vantro err!"};
  }
  if (name == "init_cxt") return {-2000, ""};
  if (name == "cxt_ptr->algoInterface") {
    return {-2000, video ? "cxt_ptr->algoInterface is malloc failed!\n"
                         : "cxt_ptr->algoInterface  ERROR\n"};
  }
  if (!video) return {-2000, "cxt_ptr->" + name + " error!\n"};
  const bool ring = name == "move_flag" || name == "area";
  return {-2000,
          ring ? "cxt_ptr->move_flag is malloc failed\n" : "cxt_ptr->mask is malloc failed\n"};
}

std::vector<std::string> Names(const std::vector<std::string>& events, char kind) {
  std::vector<std::string> names;
  for (const std::string& event : events) {
    if (event[0] == kind) names.push_back(event.substr(1, event.find(':') - 1));
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

TEST_P(Lifecycle, OpensAndCloses) {
  void* handle = nullptr;
  ASSERT_EQ(family().init(&handle, "no such file", pool_.get()), 0);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(*static_cast<uint32_t*>(handle), 201809060u);
  EXPECT_THAT(Names(pool_.events, '+'), ElementsAreArray(family().allocations));
  EXPECT_THAT(pool_.events, Contains("+init_cxt:520"));
  EXPECT_THAT(pool_.events, Contains("+mask:3072"));
  EXPECT_EQ(script().create_mode, family().create_mode);
  EXPECT_EQ(script().model_dir, "/vendor/etc/camera/cnnmodel/imagesegmentation/");
  EXPECT_EQ(loader.closes, 0);

  pool_.events.clear();
  EXPECT_EQ(family().deinit(&handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_THAT(Names(pool_.events, '-'), ElementsAreArray(family().closing));
  EXPECT_EQ(loader.opens, 1);
  EXPECT_EQ(loader.closes, 1);
  EXPECT_EQ(script().destroys, 1);
}

// The whole log of a round with the switch on, line by line.
TEST_P(Lifecycle, LogIsCompleteAndInOrder) {
  const bool video = &family() == &kVideo;
  const std::string prefix = family().property_prefix;
  const std::string name = family().name;
  Properties()[prefix + "printlog"] = "1";
  void* handle = nullptr;
  ASSERT_EQ(family().init(&handle, "tune.xml", pool_.get()), 0);
  family().deinit(&handle);
  std::vector<LogLine> lines = log_.lines();
  // The worker pool's lines hold addresses.
  std::erase_if(lines, [](const LogLine& line) {
    return line.text.find("threads") != std::string::npos ||
           line.text.find("Thead") != std::string::npos;
  });
  const int banner = video ? 4 : 6;
  const int level = video ? 3 : 6;
  const std::string video_tag = "QZA_MVANTRO";
  const std::string tag = video ? video_tag : "QZA_VANTRO_PHOTO";
  const std::string gap = video ? "\t" : "  ";
  EXPECT_THAT(
      lines,
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
  for (size_t index = 0; index < family().allocations.size(); ++index) {
    const std::string& name = family().allocations[index];
    SCOPED_TRACE(name);
    TrackingPool pool;
    pool.FailAt(static_cast<int>(index));
    log_.clear();
    const AllocationFailure expected = ExpectedFailure(family(), name);
    void* handle = &pool;
    EXPECT_EQ(family().init(&handle, "", pool.get()), expected.code);
    EXPECT_EQ(handle, nullptr);
    const std::vector<LogLine> lines = log_.lines();
    const bool logged = std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
      return line.level == 6 && line.tag == "QZA_MVANTRO" && line.text == expected.line;
    });
    EXPECT_EQ(logged, !expected.line.empty());

    std::vector<std::string> released;
    const auto end = family().allocations.begin() + static_cast<ptrdiff_t>(index);
    for (const std::string& held : family().unwinding) {
      if (std::find(family().allocations.begin(), end, held) != end) released.push_back(held);
    }
    EXPECT_THAT(Names(pool.events, '-'), ElementsAreArray(released));
    EXPECT_EQ(loader.opens, loader.closes);
    EXPECT_EQ(script().creates, script().destroys);
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
  const std::string input_error = std::string(family().name) + "_Init input error!, xml_name(";
  const auto expect_refusal = [&](int32_t code, int32_t expected, const char* tag,
                                  const std::string& text) {
    EXPECT_EQ(code, expected);
    const LogLine line = log_.lines().back();
    EXPECT_EQ(line.level, 6);
    EXPECT_EQ(line.tag, tag);
    EXPECT_EQ(line.text.substr(0, text.size()), text);
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
  const struct {
    const char* value;
    int on;
  } kCases[] = {{"1", 1}, {"1abc", 1}, {"0", 0}, {"", 0}, {"true", 0}, {" 1", 0}};
  for (const auto& [value, on] : kCases) {
    log_.clear();
    Properties()[std::string(family().property_prefix) + "printlog"] = value;
    void* handle = nullptr;
    ASSERT_EQ(family().init(&handle, "x", pool_.get()), 0);
    EXPECT_TRUE(log_.contains("--- DEBUG ---get " + std::string(family().property_prefix) +
                              "printlog debug flag mask " + std::to_string(on)));
    EXPECT_EQ(log_.contains("dlopen libPlimra.so is begin\n"), on == 1) << value;
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
