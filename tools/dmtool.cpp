//===- dmtool.cpp - Command-line tool over the data model library --------===//
//
// dmtool <command> [options]. Each command is one entry of kCommands with its
// own argument parser; a command reports a failure as one line
// "dmtool: <reason>" on stderr and exits 1. Usage errors exit 2.
//
//===----------------------------------------------------------------------===//
#include "core/ikivcomponent.h"
#include "core/kivclassid.h"
#include "core/platformexception.h"
#include "tools/blockdump.h"
#include "host/referencehost.h"
#include "host/tovcomponentmanager.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

using Arguments = std::vector<std::string>;

struct Command {
  const char* name;
  const char* synopsis;
  const char* summary;
  int (*run)(const Arguments& args);
};

int runInfo(const Arguments& args);
int runBlocks(const Arguments& args);

const Command kCommands[] = {
    {"info", "[--library PATH]",
     "component name, version, API version and one line per class", runInfo},
    {"blocks", "FILE [--depth N]",
     "the block tree of a data-model file, with typed values and class names", runBlocks},
};

void printUsage(std::FILE* out) {
  std::fprintf(out, "usage: dmtool <command> [options]\n       dmtool --help\n\ncommands:\n");
  for (const Command& command : kCommands)
    std::fprintf(out, "  %s %s\n      %s\n", command.name, command.synopsis, command.summary);
  std::fprintf(out, "\n--library PATH  the component library; default: libdatamodelcmp.so "
                    "beside dmtool\n");
}

int fail(const std::string& reason) {
  std::fprintf(stderr, "dmtool: %s\n", reason.c_str());
  return kExitFailure;
}

int usageError(const std::string& reason) {
  std::fprintf(stderr, "dmtool: %s\n", reason.c_str());
  printUsage(stderr);
  return kExitUsage;
}

// libdatamodelcmp.so in the directory of the running executable.
std::string defaultLibraryPath() {
  char buffer[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (length <= 0)
    return "libdatamodelcmp.so";
  std::string self(buffer, static_cast<size_t>(length));
  size_t slash = self.rfind('/');
  return (slash == std::string::npos ? std::string(".") : self.substr(0, slash)) +
         "/libdatamodelcmp.so";
}

// Options shared by the commands that load the library. Returns an empty
// text on success, else the usage problem.
struct LibraryOptions {
  std::string library;
};

std::string parseLibraryOptions(const Arguments& args, LibraryOptions* options) {
  options->library = defaultLibraryPath();
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--library") {
      if (i + 1 == args.size())
        return "--library needs a path";
      options->library = args[++i];
    } else if (arg.rfind("--library=", 0) == 0) {
      options->library = arg.substr(std::strlen("--library="));
    } else {
      return "unknown argument '" + arg + "'";
    }
  }
  if (options->library.empty())
    return "--library needs a path";
  return std::string();
}

// A host that stays quiet on the console and never aborts: the tool reports
// what went wrong itself.
ReferenceHostOptions toolHostOptions() {
  ReferenceHostOptions options;
  options.echo = false;
  options.abortOnAssert = false;
  return options;
}

int runInfo(const Arguments& args) {
  LibraryOptions options;
  std::string problem = parseLibraryOptions(args, &options);
  if (!problem.empty())
    return usageError("info: " + problem);

  ReferenceHost host(toolHostOptions());
  IKivComponent* component = host.loadLibrary(options.library.c_str());
  if (!component)
    return fail(host.lastError());
  auto* internal = kivQuery<IKivCompInternal>(component, "IKivCompInternal");
  if (!internal)
    return fail(options.library + " gives no class list");

  const char* name = internal->name();
  const char* version = component->version();
  const KivClassId* id = internal->classId();
  std::printf("component: %s\n", name ? name : "(none)");
  std::printf("version: %s\n", version ? version : "(none)");
  std::printf("API version: %u\n", static_cast<unsigned>(TovComponentManager::kApiVersion));
  std::printf("class identifier: %s\n", id ? id->toString().c_str() : "(none)");
  std::printf("classes: %d\n", static_cast<int>(internal->classCount()));

  KivClassId classId;
  for (bool more = internal->firstClass(&classId); more; more = internal->nextClass(&classId)) {
    const char* className = internal->classNameOf(classId);
    std::vector<std::string> interfaces = host.manager()->interfacesOf(classId);
    std::string interfaceText;
    for (const std::string& interfaceName : interfaces)
      interfaceText += (interfaceText.empty() ? "" : ",") + interfaceName;
    std::printf("%-34s %-38s %s\n", className ? className : "?",
                interfaceText.empty() ? "none" : interfaceText.c_str(),
                classId.toString().c_str());
  }
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runBlocks(const Arguments& args) {
  std::string path;
  BlockDumpOptions options;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--depth") {
      if (i + 1 == args.size())
        return usageError("blocks: --depth needs a number");
      char* end = nullptr;
      long depth = std::strtol(args[++i].c_str(), &end, 10);
      if (*end != '\0' || depth < 0 || depth > 1000)
        return usageError("blocks: --depth takes a number from 0 to 1000");
      options.maxDepth = static_cast<int>(depth);
    } else if (arg.rfind("--", 0) == 0 || !path.empty()) {
      return usageError("blocks: unknown argument '" + arg + "'");
    } else {
      path = arg;
    }
  }
  if (path.empty())
    return usageError("blocks: no file given");
  std::string error;
  if (!dumpBlocks(path.c_str(), stdout, options, &error))
    return fail("blocks: " + error);
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 2)
    return usageError("no command given");
  std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    printUsage(stdout);
    return 0;
  }
  for (const Command& command : kCommands) {
    if (name != command.name)
      continue;
    Arguments args(argv + 2, argv + argc);
    try {
      return command.run(args);
    } catch (PlatformException* e) {
      std::string text = e->message.utf8Text() ? e->message.utf8Text() : "";
      delete e;
      return fail(std::string(command.name) + ": " + text);
    } catch (const std::exception& e) {
      return fail(std::string(command.name) + ": " + e.what());
    } catch (...) {
      return fail(std::string(command.name) + ": unexpected failure");
    }
  }
  return usageError("unknown command '" + name + "'");
}
