//===- referencehost.cpp - A complete host for building and testing -------===//
#include "host/referencehost.h"

#include "core/ikivcomponent.h"

#include "core/lookup.h"
#include "host/hostasserthandler.h"
#include "host/hostbusystate.h"
#include "host/hostdatastore.h"
#include "host/hostdirservice.h"
#include "host/hostdomxml.h"
#include "host/hosterrorservice.h"
#include "host/hostimagecodecs.h"
#include "host/hostlog.h"
#include "host/hostmemorymanager.h"
#include "host/hostpersistentrefmap.h"
#include "host/hostpointextrainfo.h"
#include "host/hostrandom.h"
#include "host/hostrealparrayfactory.h"
#include "host/hosttranslatorservice.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/kivstring.h"

#include <climits>
#include <cstdlib>
#include <vector>

namespace {

// Managers that initialised a library; never destroyed (see the header).
// Held through a pointer that is never freed, so they stay reachable.
std::vector<TovComponentManager*>& retiredManagers() {
  static auto* managers = new std::vector<TovComponentManager*>;
  return *managers;
}

std::string directoryOf(const char* path) {
  char resolved[PATH_MAX];
  std::string full = realpath(path, resolved) ? resolved : path;
  size_t slash = full.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : full.substr(0, slash);
}

void writeDirectoryKey(HostDataStore* store, HostDirService* directories, const char* key,
                       const char* name) {
  KivString path = directories->directory(name);
  store->addString(key, 4096, path, 0);
  store->setString(0, key, path);
}

} // namespace

ReferenceHost::ReferenceHost(const ReferenceHostOptions& options)
    : manager_(new TovComponentManager) {
  // Installed first, so that every reference below already counts atomically.
  setComponentManager(manager_.get());

  directories_ = new HostDirService;
  if (!options.logsDirectory.empty())
    directories_->setPath("logs", options.logsDirectory);
  if (!options.tempDirectory.empty())
    directories_->setPath("temp", options.tempDirectory);
  dataStore_ = new HostDataStore;
  log_ = new HostLog(directories_.get());
  log_->setEcho(options.echo);
  if (!options.logFile)
    log_->setLogFile(nullptr);
  errorService_ = new HostErrorService;
  errorService_->setEcho(options.echo);
  assertHandler_ = new HostAssertHandler(options.abortOnAssert);
  memoryManager_ = new HostMemoryManager;
  persistentRefMap_ = new HostPersistentRefMap;
  random_ = new HostRandom;
  pointExtraInfo_ = new HostPointExtraInfo;
  realPArrayFactory_ = new HostRealPArrayFactory;

  manager_->registerService("IDataStore", dataStore_.get());
  manager_->registerService("IKivLog3", log_.get());
  manager_->registerService("IKivErrorService", errorService_.get());
  manager_->registerService("IKivAssertHandlerCB", assertHandler_.get());
  manager_->registerService("IKivDirService", directories_.get());
  manager_->registerService("IKivMManager", memoryManager_.get());
  manager_->registerService("IKivPersistentRefMap", persistentRefMap_.get());
  compressPng_ = new HostCompressPNG;
  imageWriter_ = new HostImageWriter(log_.get());
  manager_->registerService("IKivCompressPNG", compressPng_.get());
  manager_->registerService("IKivImageWriter", imageWriter_.get());
  progress_ = new HostProgress(options.progress);
  busyState_ = new HostBusyState(log_.get());
  manager_->registerService("IKivProgress", progress_.get());
  manager_->registerService("IKivProgressCallback", new HostProgressCallback(progress_.get()));
  manager_->registerService("IKivProgressCallbackInstance",
                            new HostObjectMaker("IKivProgressCallbackInstance", [] {
                              return static_cast<void*>(static_cast<IKivProgressCallbackInstance*>(
                                  new HostProgressCallbackInstance));
                            }));
  manager_->registerService("IGuiBusyState", busyState_.get());
  HostBusyState* busy = busyState_.get();
  manager_->registerService("IGuiBusyBlock", new HostObjectMaker("IGuiBusyBlock", [busy] {
                              return static_cast<void*>(busy->newBlock());
                            }));
  manager_->registerService("IKivRandom", random_.get());
  manager_->registerService("IKivPointExtraInfo", pointExtraInfo_.get());
  manager_->registerService("IRealPArrayFactory", realPArrayFactory_.get());
  domXml_ = new HostDOMXml;
  manager_->registerService("IKivDOMXml", domXml_.get());
  if (!options.translationTable.empty()) {
    IPtr<HostTranslatorService> translator(new HostTranslatorService);
    if (translator->loadTable(options.translationTable.c_str())) {
      translatorService_ = translator;
      manager_->registerService("IKivTranslatorService", translator.get());
    } else {
      setupError_ = "cannot read translation table " + options.translationTable;
    }
  }

  dataStore_->addGroup("Directories");
  writeDirectoryKey(dataStore_.get(), directories_.get(), "Directories/Logs Directory", "logs");
  writeDirectoryKey(dataStore_.get(), directories_.get(), "Directories/Temp Directory", "temp");
}

ReferenceHost::~ReferenceHost() {
  // Objects a load left in the table die while every service still answers.
  persistentRefMap_->reset();
  manager_->shutdown();
  if (componentManager() == manager_.get())
    setComponentManager(nullptr);
  imageWriter_.clear();
  compressPng_.clear();
  translatorService_.clear();
  busyState_.clear();
  progress_.clear();
  realPArrayFactory_.clear();
  pointExtraInfo_.clear();
  random_.clear();
  persistentRefMap_.clear();
  domXml_.clear();
  memoryManager_.clear();
  assertHandler_.clear();
  errorService_.clear();
  log_.clear();
  dataStore_.clear();
  directories_.clear();
  if (manager_->hasLoadedLibrary())
    retiredManagers().push_back(manager_.detach());
  else
    manager_.clear();
}

IKivComponent* ReferenceHost::loadLibrary(const char* path) {
  // Set before the load, since the component may ask for it while starting.
  bool setComponents = path && *path && directories_->path("components").empty();
  if (setComponents)
    directories_->setPath("components", directoryOf(path));
  IKivComponent* component = manager_->loadComponent(path);
  if (!component && setComponents)
    directories_->setPath("components", std::string());
  return component;
}

IKivComponent* ReferenceHost::addLinkedComponent(const char* label) {
  uint32_t api = 0;
  IKivComponent* component = nullptr;
  if (EntryPoint(&api, &component) != 1 || !component) {
    setupError_ = "the linked component does not start";
    return nullptr;
  }
  return manager_->addComponent(component, label) ? component : nullptr;
}

std::string ReferenceHost::lastError() const {
  std::string text = manager_->lastErrorText();
  return text.empty() ? setupError_ : text;
}
