// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Schema0To1.h"

#include <cstdint>

#include "database/metakit/ObjectSizes.h"
#include "database/metakit/Service.h"
#include "persist/Converter.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"
#include "tool/Servers.h"
#include "tool/Settings.h"
#include "tool/StoreCheck.h"
#include "tool/Threads.h"

namespace {

using Pvn::Database::Metakit::Persist::Service;

constexpr char systemTable[] = "TormaQuilletHistory";
constexpr char nativeZoneTable[] = "nativeZoneHistory";
constexpr char zoneTable[] = "ZoneHistory";

/// Never closed or freed: the process ends when all is converted.
Service* originalService = nullptr;
Service* convertedService = nullptr;

struct DbMemory {
  alignas(Pvn::Database::Metakit::Persist::dbAlignment) unsigned char bytes
      [Pvn::Database::Metakit::Persist::dbSize];
};

}  // namespace

void convertFromSchema0ToSchema1() {
  checkName("INFILE", originalDatabaseFileName);
  checkName("OUTFILE", convertedDatabaseFileName);
  originalService = new Service(databaseServer, originalDatabaseFileName);
  convertedService = new Service(databaseServer, convertedDatabaseFileName);
  stopServerAtExit(databaseServer, startThread(databaseServer, "databaseServer"));
  openInfile(*originalService, originalDatabaseFileName);
  checkRows(originalService->getRowCount(systemTable),
            std::int64_t{originalService->getRowCount(nativeZoneTable)} +
                originalService->getRowCount(zoneTable),
            "INFILE", originalDatabaseFileName);
  openOutfile(*convertedService, convertedDatabaseFileName);
  DbMemory originalMemory;
  DbMemory convertedMemory;
  Pvn::Database::Db::Api* original =
      originalService->create("original", originalMemory.bytes, sizeof originalMemory);
  Pvn::Database::Db::Api* converted =
      convertedService->create("converted", convertedMemory.bytes, sizeof convertedMemory);
  Torma::Quillet::Persist::History::Schema1::Family::Kiv::convertSchema0(*original, *converted);
  convertedService->commit();
  checkWritten(*convertedService, "OUTFILE", convertedDatabaseFileName);
}

namespace Torma::Quillet::Persist::History::Schema1::Family::Kiv {

void convertSchema0(Pvn::Database::Db::Api& original, Pvn::Database::Db::Api& converted) {
  namespace Bramal = Pvn::Persist::History::Kiv::Schema1::Bramal;
  Bramal::System::convertSchema0(original, converted, systemTable, systemTable);
  Bramal::Zone::convertSchema0(original, converted, nativeZoneTable, nativeZoneTable);
  Bramal::Zone::convertSchema0(original, converted, zoneTable, zoneTable);
}

}  // namespace Torma::Quillet::Persist::History::Schema1::Family::Kiv

namespace Pvn::Persist::History::Kiv::Schema1::Bramal {

void System::convertSchema0(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb,
                            const char* oldTableName, const char* newTableName) {
  Converter<Schema0::Bramal::System::Record, Record> converter(oldDb, newDb, oldTableName,
                                                               newTableName, nullptr, nullptr);
  converter.convert();
}

void Zone::convertSchema0(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb,
                          const char* oldTableName, const char* newTableName) {
  Converter<Schema0::Bramal::Zone::Record, Record> converter(oldDb, newDb, oldTableName,
                                                             newTableName, nullptr, nullptr);
  converter.convert();
}

}  // namespace Pvn::Persist::History::Kiv::Schema1::Bramal
