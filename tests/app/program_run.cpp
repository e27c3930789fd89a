#include "tests/app/program_run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace vantro::test {

RunningProgram::RunningProgram(const std::vector<std::string>& arguments, int stdin_descriptor,
                               int64_t largest_file) {
  std::vector<char*> argv = {const_cast<char*>(VANTRO_PROGRAM)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  int pipe_ends[2];
  if (output_ == nullptr || pipe2(pipe_ends, O_CLOEXEC) != 0) std::abort();
  process_ = fork();
  if (process_ == 0) {
    dup2(stdin_descriptor, STDIN_FILENO);
    dup2(fileno(output_), STDOUT_FILENO);
    dup2(pipe_ends[1], STDERR_FILENO);
    if (largest_file > 0) {
      const rlimit limit{static_cast<rlim_t>(largest_file), static_cast<rlim_t>(largest_file)};
      setrlimit(RLIMIT_FSIZE, &limit);
    }
    // Whoever runs the tests may ignore it.
    std::signal(SIGINT, SIG_DFL);
    execv(VANTRO_PROGRAM, argv.data());
    _exit(127);
  }
  close(pipe_ends[1]);
  error_pipe_ = pipe_ends[0];
}

RunningProgram::~RunningProgram() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    Wait();
  }
  close(error_pipe_);
  std::fclose(output_);
}

bool RunningProgram::ReadMore() {
  char chunk[4096];
  const ssize_t got = read(error_pipe_, chunk, sizeof(chunk));
  if (got <= 0) return false;
  errors_.append(chunk, static_cast<size_t>(got));
  return true;
}

bool RunningProgram::WaitFor(const std::string& text) {
  while (errors_.find(text) == std::string::npos) {
    if (!ReadMore()) return false;
  }
  return true;
}

int RunningProgram::Wait() {
  while (ReadMore()) {
  }
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string RunningProgram::output() const {
  std::rewind(output_);
  return ReadAll(output_);
}

ProgramTest::ProgramTest() {
  std::string name = (std::filesystem::temp_directory_path() / "vantro_app_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) std::abort();
  folder_ = name;
}

ProgramTest::~ProgramTest() { std::filesystem::remove_all(folder_); }

ProgramTest::Result ProgramTest::Run(const std::vector<std::string>& arguments,
                                     const std::string& input, int64_t largest_file) {
  const int input_descriptor = open(input.c_str(), O_RDONLY | O_CLOEXEC);
  RunningProgram program(arguments, input_descriptor, largest_file);
  close(input_descriptor);
  const int status = program.Wait();
  return {status, program.errors(), program.output()};
}

ProgramTest::Result ProgramTest::Video(std::vector<std::string> arguments, const std::string& input,
                                       int64_t largest_file) {
  arguments.insert(arguments.begin(), {"video", "--engine", VANTRO_SCRIPTED_ENGINE});
  return Run(arguments, input, largest_file);
}

ProgramTest::Result ProgramTest::Photo(std::vector<std::string> arguments, int64_t largest_file) {
  arguments.insert(arguments.begin(), {"photo", "--engine", VANTRO_SCRIPTED_ENGINE});
  return Run(arguments, "/dev/null", largest_file);
}

std::string ProgramTest::ExpectSuccess(const Result& result) {
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, "");
  return result.errors;
}

void ProgramTest::ExpectFailure(const Result& result, int status,
                                const std::vector<std::string>& parts,
                                const std::vector<std::string>& files) const {
  EXPECT_EQ(result.status, status) << result.errors;
  for (const std::string& part : parts) {
    EXPECT_NE(result.errors.find(part), std::string::npos)
        << "no \"" << part << "\" in: " << result.errors;
  }
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(Files(), files);
}

std::vector<std::string> ProgramTest::Files(const std::string& inside) const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_ / inside)) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

std::string ReadAll(FILE* stream) {
  std::string content;
  char part[65536];
  while (const size_t got = std::fread(part, 1, sizeof(part), stream)) content.append(part, got);
  return content;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

}  // namespace vantro::test
