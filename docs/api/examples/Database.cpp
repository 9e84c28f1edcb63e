// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "database/Db.h"
#include "database/Record.h"
#include "database/Table.h"
#include "database/metakit/ObjectSizes.h"
#include "database/metakit/Service.h"
#include "docs/api/examples/Beside.h"
#include "rtk/messaging/MailboxServer.h"

namespace {

//! [use]
namespace Metakit = Pvn::Database::Metakit::Persist;

/// Keeps one value in the file under the key 7, and prints what is there.
void keepValue(Rtk::MailboxServer& server, const char* file) {
  Metakit::Service service(server, file);
  service.open();

  // Whoever asks for an object gives the memory for it.
  alignas(Metakit::dbAlignment) unsigned char dbMemory[Metakit::dbSize];
  Pvn::Database::Db::Api* db = service.create("values", dbMemory, sizeof dbMemory);
  alignas(Metakit::tableAlignment) unsigned char tableMemory[Metakit::tableSize];
  Pvn::Database::Table::Api* table =
      db->createTable("Temperatures", sizeof(double), tableMemory, sizeof tableMemory);

  const double stored = 20.5;
  alignas(Metakit::recordAlignment) unsigned char recordMemory[Metakit::recordObjectSize];
  Pvn::Database::Record::Api* record =
      table->createRecordWithKey(&stored, recordMemory, sizeof recordMemory, 7);
  double read = 0;
  record->read(&read, sizeof read, 0);
  std::printf("%d: %.1f\n", record->getKey(), read);

  // destroy() would delete the row.
  record->~Api();
  table->destroy();
  db->destroy();
  service.close();
}
//! [use]

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    return 1;
  }
  std::remove(argv[1]);
  Rtk::MailboxServer server;
  Examples::callBeside(server, [&] { keepValue(server, argv[1]); });
}
