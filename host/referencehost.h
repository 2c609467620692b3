//===- referencehost.h - A complete host for building and testing -*- C++ -*-===//
//
// ReferenceHost builds a TovComponentManager, registers the host's services
// under their interface names ("IDataStore", "IKivLog3", "IKivErrorService",
// "IKivAssertHandlerCB", "IKivDirService", "IKivMManager",
// "IKivPersistentRefMap", the image codecs "IKivCompressPNG" and
// "IKivImageWriter", the progress line "IKivProgress" with its callbacks
// "IKivProgressCallback" and "IKivProgressCallbackInstance" (a new one per
// request), "IGuiBusyState" and "IGuiBusyBlock" (a new one per request),
// "IKivRandom", "IKivPointExtraInfo", "IRealPArrayFactory", the XML reader
// "IKivDOMXml", and "IKivTranslatorService" when a table is given),
// writes the directory keys "Directories/Logs Directory" and
// "Directories/Temp Directory", installs the manager for this process's copy
// of the library code and loads component libraries by path.
//
// Invariants a user must know:
//  - One ReferenceHost at a time per process: the host side has one manager
//    slot, which the constructor fills and the destructor empties.
//  - The destructor shuts the manager down (listeners, components, services,
//    newest first). A manager that has initialised a library is then kept
//    alive, answering only reference counts, until the process ends: the
//    library stays loaded and its static caches release their references at
//    exit through it.
//  - Service accessors give pointers without a reference, valid for the
//    host's lifetime.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "host/hostprogress.h"

#include <string>

class HostAssertHandler;
class HostCompressPNG;
class HostImageWriter;
class HostBusyState;
class HostDataStore;
class HostDirService;
class HostDOMXml;
class HostErrorService;
class HostLog;
class HostMemoryManager;
class HostPersistentRefMap;
class HostPointExtraInfo;
class HostRandom;
class HostRealPArrayFactory;
class HostTranslatorService;
class IKivComponent;
class TovComponentManager;

struct ReferenceHostOptions {
  std::string logsDirectory;     // empty: the directory service's default
  std::string tempDirectory;     // empty: the directory service's default
  std::string translationTable;  // empty: no IKivTranslatorService
  bool abortOnAssert = true;     // false: assertions are counted and printed
  bool echo = true;              // log lines and error reports also on stderr
  bool logFile = true;           // false: the log writes no file
  HostProgressOptions progress;  // the progress line on stderr
};

class ReferenceHost {
public:
  explicit ReferenceHost(const ReferenceHostOptions& options = ReferenceHostOptions());
  ~ReferenceHost();
  ReferenceHost(const ReferenceHost&) = delete;
  ReferenceHost& operator=(const ReferenceHost&) = delete;

  // Null on failure; lastError() says why in one line. The first library
  // loaded also becomes the "components" directory unless one was set.
  IKivComponent* loadLibrary(const char* path);
  // Adds the copy of the component that is linked into this program (tests,
  // benchmarks, tools), under `label`, instead of loading the library. Null
  // on failure, with lastError() saying why. Its classes register once per
  // process, with the first host that adds it.
  IKivComponent* addLinkedComponent(const char* label);
  std::string lastError() const;

  TovComponentManager* manager() const { return manager_.get(); }
  HostDataStore* dataStore() const { return dataStore_.get(); }
  HostLog* log() const { return log_.get(); }
  HostErrorService* errorService() const { return errorService_.get(); }
  HostAssertHandler* assertHandler() const { return assertHandler_.get(); }
  HostDirService* directories() const { return directories_.get(); }
  HostMemoryManager* memoryManager() const { return memoryManager_.get(); }
  HostPersistentRefMap* persistentRefMap() const { return persistentRefMap_.get(); }
  HostProgress* progress() const { return progress_.get(); }
  HostBusyState* busyState() const { return busyState_.get(); }
  HostRandom* random() const { return random_.get(); }
  // The empty prototype; point arrays keep clones of it.
  HostPointExtraInfo* pointExtraInfo() const { return pointExtraInfo_.get(); }
  HostRealPArrayFactory* realPArrayFactory() const { return realPArrayFactory_.get(); }
  // Null unless a translation table was given and could be read.
  HostTranslatorService* translatorService() const { return translatorService_.get(); }
  HostCompressPNG* compressPng() const { return compressPng_.get(); }
  HostImageWriter* imageWriter() const { return imageWriter_.get(); }

private:
  IPtr<TovComponentManager> manager_;
  IPtr<HostDirService> directories_;
  IPtr<HostDataStore> dataStore_;
  IPtr<HostLog> log_;
  IPtr<HostErrorService> errorService_;
  IPtr<HostAssertHandler> assertHandler_;
  IPtr<HostMemoryManager> memoryManager_;
  IPtr<HostPersistentRefMap> persistentRefMap_;
  IPtr<HostRandom> random_;
  IPtr<HostPointExtraInfo> pointExtraInfo_;
  IPtr<HostRealPArrayFactory> realPArrayFactory_;
  IPtr<HostTranslatorService> translatorService_;
  IPtr<HostCompressPNG> compressPng_;
  IPtr<HostImageWriter> imageWriter_;
  IPtr<HostProgress> progress_;
  IPtr<HostBusyState> busyState_;
  IPtr<HostDOMXml> domXml_;
  std::string setupError_;
};
