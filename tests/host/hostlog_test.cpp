#include "host/hostlog.h"

#include "host/hostdirservice.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> fileLines(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);)
    lines.push_back(line);
  return lines;
}

std::string freshDirectory(const char* name) {
  std::string path = ::testing::TempDir() + "hostlog_" + std::to_string(getpid()) + "_" + name;
  std::filesystem::remove_all(path);
  return path;
}

TEST(HostLog, OneLinePerMessageInALazilyCreatedDefaultFile) {
  std::string logs = freshDirectory("default") + "/nested";
  IPtr<HostDirService> directories(new HostDirService);
  directories->setPath("logs", logs);
  IPtr<HostLog> log(new HostLog(directories.get()));
  log->setEcho(false);

  std::string path = log->logFile();
  EXPECT_EQ(path, logs + "/datamodel.log");
  EXPECT_FALSE(std::filesystem::exists(logs));  // nothing written, nothing created

  log->logError(KivString("[Collection] first\nsecond\r\nthird"));
  log->setLevel(HostLog::kWarning);
  log->logInfo(KivString("dropped"));
  log->logDebug(KivString("dropped"));
  log->logWarning(KivString("kept"));
  std::vector<std::string> lines = fileLines(path);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(std::regex_match(
      lines[0], std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d error: \[Collection\] first second  third)")))
      << lines[0];
  EXPECT_NE(lines[1].find(" warning: kept"), std::string::npos);

  // Switched off: no file is touched any more.
  EXPECT_TRUE(log->setLogFile(nullptr));
  EXPECT_EQ(log->logFile(), nullptr);
  log->logError(KivString("only on the console"));
  EXPECT_EQ(fileLines(path).size(), 2u);
  std::filesystem::remove_all(logs);
}

TEST(HostLog, LinesFromManyThreadsStayWhole) {
  std::string directory = freshDirectory("threads");
  std::filesystem::create_directories(directory);
  std::string path = directory + "/explicit.log";
  IPtr<HostLog> log(new HostLog(nullptr));
  log->setEcho(false);
  ASSERT_TRUE(log->setLogFile(path.c_str()));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&log, t] {
      for (int i = 0; i < 200; ++i)
        log->logError(KivString(("thread " + std::to_string(t) + " message " + std::to_string(i)).c_str()));
    });
  for (std::thread& thread : threads)
    thread.join();
  std::vector<std::string> lines = fileLines(path);
  ASSERT_EQ(lines.size(), 800u);
  for (const std::string& line : lines)
    EXPECT_TRUE(std::regex_search(line, std::regex(R"(error: thread \d message \d+$)"))) << line;
  std::filesystem::remove_all(directory);
}

} // namespace
