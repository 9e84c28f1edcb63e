// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Creator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "random/Random.h"
#include "tool/Schema0To1.h"
#include "tool/Settings.h"

namespace Pvn::Mt::Itc {

namespace {

struct ConversionDescriptor {
  const char* oldVersion;
  const char* newVersion;
  /// Reads and writes the files that the settings name.
  void (*conversion)();
};

constexpr ConversionDescriptor conversionDescriptors[] = {
    {"0", "1", convertFromSchema0ToSchema1},
};

/// The first conversion between the two versions; null when there is none.
const ConversionDescriptor* findConversion(const char* oldVersion, const char* newVersion) {
  for (const ConversionDescriptor& descriptor : conversionDescriptors) {
    if (std::strcmp(descriptor.oldVersion, oldVersion) == 0 &&
        std::strcmp(descriptor.newVersion, newVersion) == 0) {
      return &descriptor;
    }
  }
  return nullptr;
}

}  // namespace

Creator::~Creator() = default;

void Creator::initialize() {
  Pvn::Random::initialize();
  const ConversionDescriptor* descriptor =
      findConversion(originalDatabaseVersionName, convertedDatabaseVersionName);
  if (descriptor == nullptr) {
    if (!quiet) {
      std::fprintf(stderr,
                   "%s: No conversion available for the specified input version: \"%s\", AND the "
                   "specified output version: \"%s\".\n",
                   programName, originalDatabaseVersionName, convertedDatabaseVersionName);
    }
    std::exit(-1);
  }
  descriptor->conversion();
  if (!quiet) {
    std::printf("Conversion complete.\n");
  }
  std::exit(0);
}

}  // namespace Pvn::Mt::Itc
