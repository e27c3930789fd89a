// Runs the program in a folder of the test's own and collects what it says.
#ifndef VANTRO_TESTS_APP_PROGRAM_RUN_H_
#define VANTRO_TESTS_APP_PROGRAM_RUN_H_

#include <gtest/gtest.h>
#include <sys/types.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace vantro::test {

// The program while it runs; its standard error is read by the test. Killed at the latest when the
// object ends.
class RunningProgram {
 public:
  // `largest_file` limits what the program can write to one file, in bytes; 0 for no limit.
  RunningProgram(const std::vector<std::string>& arguments, int stdin_descriptor,
                 int64_t largest_file = 0);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  // Reads standard error until it has shown `text`; false when the program ended without it.
  bool WaitFor(const std::string& text);
  void Signal(int number) { kill(process_, number); }
  // The exit status, or -1 when a signal ended it.
  int Wait();
  const std::string& errors() const { return errors_; }
  std::string output() const;

 private:
  bool ReadMore();

  pid_t process_ = -1;
  int error_pipe_ = -1;
  std::string errors_;
  FILE* const output_ = std::tmpfile();
};

// A fresh folder for every test, removed afterwards.
class ProgramTest : public ::testing::Test {
 protected:
  struct Result {
    int status;
    std::string errors;  // standard error
    std::string output;  // standard output
  };

  ProgramTest();
  ~ProgramTest() override;

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  // Runs "vantro ARGUMENTS..."; standard input is the file `input`.
  static Result Run(const std::vector<std::string>& arguments,
                    const std::string& input = "/dev/null", int64_t largest_file = 0);
  // The same with the scripted engine: "vantro video ARGUMENTS..." and "vantro photo ARGUMENTS...".
  static Result Video(std::vector<std::string> arguments, const std::string& input = "/dev/null",
                      int64_t largest_file = 0);
  static Result Photo(std::vector<std::string> arguments, int64_t largest_file = 0);
  // The run ended well and left standard output empty. Returns what it said.
  static std::string ExpectSuccess(const Result& result);
  // The run ended with `status`, said each of `parts`, and left the folder with these files.
  void ExpectFailure(const Result& result, int status, const std::vector<std::string>& parts,
                     const std::vector<std::string>& files) const;
  // The names in the folder, or in one inside it, sorted.
  std::vector<std::string> Files(const std::string& inside = ".") const;

  std::filesystem::path folder_;
};

// All that is left of a stream.
std::string ReadAll(FILE* stream);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_PROGRAM_RUN_H_
