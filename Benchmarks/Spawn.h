// Starts a program with bare system calls.
#pragma once
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

/// posix_spawn() of a program that reads from /dev/null and writes to the descriptor `output`, and
/// nothing else.
inline pid_t spawn(std::vector<const char*> command, int output) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  command.push_back(nullptr);
  pid_t child = 0;
  const int error = ::posix_spawn(&child, command[0], &actions, nullptr,
                                  const_cast<char* const*>(command.data()), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw std::runtime_error("posix_spawn failed");
  }
  return child;
}
