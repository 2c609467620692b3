// Runs a shell command for the tool tests and gives its combined output.
#pragma once

#include <cstdio>
#include <string>
#include <sys/wait.h>

// The command's exit status (-1 if it didn't exit normally); stdout and
// stderr together in *output.
inline int runCommand(const std::string& command, std::string* output) {
  output->clear();
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe)
    return -1;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
    output->append(buffer, n);
  int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
