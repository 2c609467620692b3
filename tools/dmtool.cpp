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
#include "tools/documentfile.h"
#include "tools/graphfile.h"
#include "tools/graphreport.h"
#include "tools/imagecard.h"
#include "host/referencehost.h"
#include "host/tovcomponentmanager.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
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
int runCreate(const Arguments& args);
int runConvert(const Arguments& args);
int runImage(const Arguments& args);
int runNew(const Arguments& args);
int runTree(const Arguments& args);
int runVerify(const Arguments& args);
int runSample(const Arguments& args);
int runDot(const Arguments& args);
int runLeaks(const Arguments& args);
int runConfig(const Arguments& args);

const Command kCommands[] = {
    {"info", "[--library PATH]",
     "component name, version, API version and one line per class", runInfo},
    {"blocks", "FILE [--depth N]",
     "the block tree of a data-model file, with typed values and class names", runBlocks},
    {"create", "FILE [--objects N] [--version 9|10]",
     "a sample object graph of N children (default 3) with a shared child and a cycle",
     runCreate},
    {"convert", "IN OUT [--version 9|10]",
     "the object graph or document of IN written to OUT with 32-bit (9) or 64-bit (10, "
     "default) lengths",
     runConvert},
    {"image", "OUT [--size WxH] [--channels 1-4] [--format F]",
     "a test card (gradients, grid, no text) saved as ppm, bmp, rgb, tif, png or jpg, by the "
     "extension of OUT or F",
     runImage},
    {"new", "FILE [--name N] [--config XML]",
     "a new empty document named N (default: the file's stem), with the properties that the "
     "configuration file XML gives documents",
     runNew},
    {"tree", "FILE [--json]",
     "the item tree of a document: names, classes, stored properties and data objects",
     runTree},
    {"verify", "FILE [--json]",
     "reads a whole document; exit 0 if it is sound, 2 if damaged (with where the damage "
     "starts and what could still be read)",
     runVerify},
    {"sample", "FILE [--config XML]",
     "builds a small document, saves it to FILE, loads it back and undoes and redoes an edit, "
     "telling each step",
     runSample},
    {"dot", "FILE [-o OUT.dot] [--leaks]",
     "loads a document and writes the Graphviz DOT text of the live object graph (objects, "
     "relationships, actions) to OUT or stdout; --leaks adds the leak report once the "
     "document is closed",
     runDot},
    {"leaks", "FILE",
     "loads a document, closes it and prints the leak report: every object and relationship "
     "still alive",
     runLeaks},
    {"config", "get KEY [--details] | set KEY VALUE [--type int|double|string|wide] "
               "[--settings FILE]",
     "reads or writes one key of the settings file (default $DMTOOL_SETTINGS, else "
     "$XDG_CONFIG_HOME/dmtool/settings or ~/.config/dmtool/settings)",
     runConfig},
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

// Reads the number of `option` from args[i + 1] into *value. Empty on
// success, else the usage problem.
std::string parseNumber(const Arguments& args, size_t* i, const char* option, long low, long high,
                        long* value) {
  std::string range = std::to_string(low) + " to " + std::to_string(high);
  if (*i + 1 == args.size())
    return std::string(option) + " needs a number from " + range;
  const std::string& text = args[++*i];
  char* end = nullptr;
  *value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || *value < low || *value > high)
    return std::string(option) + " takes a number from " + range;
  return std::string();
}

// The file options of create and convert: `paths` positional files and
// --version; --objects only where `objects` is given.
std::string parseGraphOptions(const Arguments& args, std::vector<std::string>* paths,
                              size_t pathCount, int* fileVersion, long* objects) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string problem;
    if (arg == "--version") {
      if (i + 1 == args.size() || (args[i + 1] != "9" && args[i + 1] != "10"))
        return "--version takes 9 (32-bit lengths) or 10 (64-bit lengths)";
      *fileVersion = args[++i] == "9" ? 9 : 10;
    } else if (arg == "--objects" && objects) {
      problem = parseNumber(args, &i, "--objects", 1, 100000, objects);
    } else if (arg.rfind("--", 0) == 0 || paths->size() == pathCount) {
      return "unknown argument '" + arg + "'";
    } else {
      paths->push_back(arg);
    }
    if (!problem.empty())
      return problem;
  }
  if (paths->size() < pathCount)
    return pathCount == 1 ? "no file given" : "needs an input and an output file";
  return std::string();
}

std::string lengthsText(int fileVersion) {
  return "file version " + std::to_string(fileVersion) +
         (fileVersion <= 9 ? " (32-bit lengths)" : " (64-bit lengths)");
}

int runCreate(const Arguments& args) {
  std::vector<std::string> paths;
  int fileVersion = 10;
  long objects = 3;
  std::string problem = parseGraphOptions(args, &paths, 1, &fileVersion, &objects);
  if (!problem.empty())
    return usageError("create: " + problem);
  GraphFileResult result;
  std::string error;
  if (!createSampleGraphFile(paths[0], static_cast<int>(objects), fileVersion, &result, &error))
    return fail("create: " + error);
  std::printf("created %s: %d objects, %llu bytes, %s\n", paths[0].c_str(), result.objects,
              static_cast<unsigned long long>(result.bytes), lengthsText(fileVersion).c_str());
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runConvert(const Arguments& args) {
  std::vector<std::string> paths;
  int fileVersion = 10;
  std::string problem = parseGraphOptions(args, &paths, 2, &fileVersion, nullptr);
  if (!problem.empty())
    return usageError("convert: " + problem);
  std::error_code ignored;
  if (paths[0] == paths[1] || std::filesystem::equivalent(paths[0], paths[1], ignored))
    return usageError("convert: IN and OUT are the same file");
  std::string error;
  if (isDocumentFile(paths[0])) {
    int items = 0;
    uint64_t bytes = 0;
    if (!convertDocumentFile(paths[0], paths[1], fileVersion, &items, &bytes, &error))
      return fail("convert: " + error);
    std::printf("converted document %s to %s: %d items, %llu bytes, %s\n", paths[0].c_str(),
                paths[1].c_str(), items, static_cast<unsigned long long>(bytes),
                lengthsText(fileVersion).c_str());
    return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
  }
  GraphFileResult result;
  if (!convertGraphFile(paths[0], paths[1], fileVersion, &result, &error))
    return fail("convert: " + error);
  std::printf("converted %s to %s: %d objects, %llu bytes, %s\n", paths[0].c_str(),
              paths[1].c_str(), result.objects, static_cast<unsigned long long>(result.bytes),
              lengthsText(fileVersion).c_str());
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

// "WxH" with each side from 1 to 65535.
bool parseSize(const std::string& text, long* width, long* height) {
  const size_t x = text.find_first_of("xX");
  if (x == std::string::npos || x == 0 || x + 1 == text.size())
    return false;
  char* end = nullptr;
  const std::string w = text.substr(0, x), h = text.substr(x + 1);
  *width = std::strtol(w.c_str(), &end, 10);
  if (*end != '\0')
    return false;
  *height = std::strtol(h.c_str(), &end, 10);
  return *end == '\0' && *width >= 1 && *width <= 65535 && *height >= 1 && *height <= 65535;
}

int runImage(const Arguments& args) {
  std::string out, format;
  long width = 256, height = 192, channels = 3;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string problem;
    if (arg == "--size") {
      if (i + 1 == args.size() || !parseSize(args[++i], &width, &height))
        return usageError("image: --size takes WxH, each from 1 to 65535");
    } else if (arg == "--channels") {
      problem = parseNumber(args, &i, "--channels", 1, 4, &channels);
    } else if (arg == "--format") {
      if (i + 1 == args.size())
        return usageError("image: --format needs a format");
      format = imageFormatName(args[++i]);
      if (format.empty())
        return usageError("image: --format takes ppm, bmp, rgb, tif, png or jpg");
    } else if (arg.rfind("--", 0) == 0 || !out.empty()) {
      return usageError("image: unknown argument '" + arg + "'");
    } else {
      out = arg;
    }
    if (!problem.empty())
      return usageError("image: " + problem);
  }
  if (out.empty())
    return usageError("image: no file given");
  if (format.empty()) {
    const size_t dot = out.rfind('.');
    const size_t slash = out.rfind('/');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
      format = imageFormatName(out.substr(dot + 1));
    if (format.empty())
      return usageError("image: cannot tell the format of '" + out + "'; give --format");
  }
  std::string written, error;
  if (!writeTestCard(out, format, static_cast<int>(width), static_cast<int>(height),
                     static_cast<int>(channels), &written, &error))
    return fail("image: " + error);
  std::printf("wrote %s: %ldx%ld, %ld channels, %s\n", written.c_str(), width, height, channels,
              format.c_str());
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runNew(const Arguments& args) {
  std::string path, name, config;
  bool named = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--name" || arg == "--config") {
      if (i + 1 == args.size())
        return usageError("new: " + arg + " needs a value");
      (arg == "--name" ? name : config) = args[++i];
      named = named || arg == "--name";
    } else if (arg.rfind("--", 0) == 0 || !path.empty()) {
      return usageError("new: unknown argument '" + arg + "'");
    } else {
      path = arg;
    }
  }
  if (path.empty())
    return usageError("new: no file given");
  if (!named)
    name = std::filesystem::path(path).stem().string();
  uint64_t bytes = 0;
  std::string error;
  if (!createDocumentFile(path, name, config, &bytes, &error))
    return fail("new: " + error);
  std::printf("created document \"%s\" in %s: %llu bytes\n", name.c_str(), path.c_str(),
              static_cast<unsigned long long>(bytes));
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

// FILE [--json] of tree and verify.
std::string parseFileAndJson(const Arguments& args, std::string* path, bool* json) {
  for (const std::string& arg : args) {
    if (arg == "--json")
      *json = true;
    else if (arg.rfind("--", 0) == 0 || !path->empty())
      return "unknown argument '" + arg + "'";
    else
      *path = arg;
  }
  return path->empty() ? "no file given" : std::string();
}

// Exit 0 sound, 2 damaged (a report was printed), 1 unreadable.
int runDocumentReport(const char* command, const Arguments& args,
                      int (*report)(const std::string&, bool, std::FILE*, std::string*)) {
  std::string path;
  bool json = false;
  std::string problem = parseFileAndJson(args, &path, &json);
  if (!problem.empty())
    return usageError(std::string(command) + ": " + problem);
  std::string error;
  const int status = report(path, json, stdout, &error);
  if (std::fflush(stdout) != 0)
    return fail("cannot write the output");
  if (status == 1)
    return fail(std::string(command) + ": " + error);
  if (status != 0)
    std::fprintf(stderr, "dmtool: %s: %s\n", command, error.c_str());
  return status;
}

int runTree(const Arguments& args) { return runDocumentReport("tree", args, printDocumentTree); }

int runVerify(const Arguments& args) {
  return runDocumentReport("verify", args, verifyDocumentFile);
}

int runSample(const Arguments& args) {
  std::string path, config;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config") {
      if (i + 1 == args.size())
        return usageError("sample: --config needs a file");
      config = args[++i];
    } else if (args[i].rfind("--", 0) == 0 || !path.empty()) {
      return usageError("sample: unknown argument '" + args[i] + "'");
    } else {
      path = args[i];
    }
  }
  if (path.empty())
    return usageError("sample: no file given");
  std::string error;
  if (!runDocumentSample(path, config, stdout, &error))
    return fail("sample: " + error);
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runDot(const Arguments& args) {
  std::string path, dotPath;
  bool leaks = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-o" || args[i] == "--output") {
      if (i + 1 == args.size())
        return usageError("dot: " + args[i] + " needs a file");
      dotPath = args[++i];
    } else if (args[i] == "--leaks") {
      leaks = true;
    } else if (args[i].rfind("-", 0) == 0 || !path.empty()) {
      return usageError("dot: unknown argument '" + args[i] + "'");
    } else {
      path = args[i];
    }
  }
  if (path.empty())
    return usageError("dot: no file given");
  std::string error;
  if (!writeDocumentGraph(path, dotPath, leaks, stdout, &error))
    return fail("dot: " + error);
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runLeaks(const Arguments& args) {
  if (args.size() != 1 || args[0].rfind("-", 0) == 0)
    return usageError(args.empty() ? "leaks: no file given"
                                   : "leaks: takes one FILE, got '" + args.back() + "'");
  std::string error;
  // Loaded and closed as for dot; the DOT text goes nowhere.
  if (!writeDocumentGraph(args[0], "", false, nullptr, &error))
    return fail("leaks: " + error);
  printLeakReport(stdout);
  return std::fflush(stdout) == 0 ? 0 : fail("cannot write the output");
}

int runConfig(const Arguments& args) {
  std::string settings = defaultSettingsPath();
  std::string type;
  bool details = false;
  Arguments words;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--settings" || args[i] == "--type") {
      if (i + 1 == args.size())
        return usageError("config: " + args[i] + " needs a value");
      (args[i] == "--settings" ? settings : type) = args[i + 1];
      ++i;
    } else if (args[i] == "--details") {
      details = true;
    } else {
      words.push_back(args[i]);
    }
  }
  if (words.empty())
    return usageError("config: get or set?");
  std::string error;
  if (words[0] == "get") {
    if (words.size() != 2)
      return usageError("config: get takes one KEY");
    if (!getSetting(settings, words[1], details, stdout, &error))
      return fail("config: " + error);
  } else if (words[0] == "set") {
    if (words.size() != 3)
      return usageError("config: set takes KEY and VALUE");
    if (!setSetting(settings, words[1], words[2], type, &error))
      return fail("config: " + error);
  } else {
    return usageError("config: unknown action '" + words[0] + "' (get or set)");
  }
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
