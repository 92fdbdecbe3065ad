// Processes on Linux and its like.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tool/tool_process.h"

namespace orbmath_test {

ProcessEnd RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                      const std::string& folder) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "stdin", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "stdout", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = 0;
  const int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ProcessEnd end;
  int status = 0;
  rusage usage{};
  if (spawned != 0 || wait4(child, &status, 0, &usage) != child) return end;
  end.peak_kilobytes = usage.ru_maxrss;
  end.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return end;
}

}  // namespace orbmath_test
