//===- servicecache.cpp - Cached pointers to services ---------------------===//
#include "core/servicecache.h"

namespace kivdetail {
std::atomic<unsigned> gServiceCacheGeneration{0};
}

void resetServiceCaches() { kivdetail::gServiceCacheGeneration.fetch_add(1); }
