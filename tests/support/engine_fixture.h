// Tests of handles: the scripted engine is loaded, its script and the properties start fresh, and
// afterwards no thread is left.
#ifndef VANTRO_TESTS_SUPPORT_ENGINE_FIXTURE_H_
#define VANTRO_TESTS_SUPPORT_ENGINE_FIXTURE_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/scripted_engine/scripted_engine.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"
#include "tests/support/tracking_pool.h"

namespace vantro::test {

class EngineFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    engine_ = dlopen(VANTRO_SCRIPTED_ENGINE, RTLD_NOW);
    ASSERT_NE(engine_, nullptr) << dlerror();
    script_ = reinterpret_cast<EngineScript* (*)()>(dlsym(engine_, "Plimra_Script"))();
    *script_ = EngineScript();
    Properties().clear();
    threads_before_ = CountThreads();
  }
  void TearDown() override {
    EXPECT_TRUE(ThreadsComeDownTo(threads_before_)) << CountThreads() << " threads";
    EXPECT_EQ(script_->alive, 0) << "engines not destroyed";
    *script_ = EngineScript();
    dlclose(engine_);
  }
  EngineScript& script() { return *script_; }
  // Those of the worker pool hold addresses, and come whenever its thread runs.
  std::vector<LogLine> LinesButOfThreads() const {
    std::vector<LogLine> lines = log_.lines();
    std::erase_if(lines, [](const LogLine& line) {
      return line.text.find("threads") != std::string::npos ||
             line.text.find("Thead") != std::string::npos;
    });
    return lines;
  }

  TrackingPool pool_;
  LogCapture log_;

 private:
  void* engine_ = nullptr;
  EngineScript* script_ = nullptr;
  int threads_before_ = 0;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_ENGINE_FIXTURE_H_
