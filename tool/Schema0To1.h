// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Db.h"

// The conversion of history databases from schema 0 to schema 1. All of it runs on an Rtk::Thread
// other than the databases' server, and returns when everything is written.

/// Converts the file that the settings name into the other one, starting the thread that serves
/// both. Nothing that it makes is released: the process is to end behind it.
void convertFromSchema0ToSchema1();

namespace Torma::Quillet::Persist::History::Schema1::Family::Kiv {

/// Converts all tables of the family, each under its own name.
void convertSchema0(Pvn::Database::Db::Api& original, Pvn::Database::Db::Api& converted);

}  // namespace Torma::Quillet::Persist::History::Schema1::Family::Kiv

namespace Pvn::Persist::History::Kiv::Schema1::Bramal {

namespace System {

/// Converts a table of System records.
void convertSchema0(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb,
                    const char* oldTableName, const char* newTableName);

}  // namespace System

namespace Zone {

/// Converts a table of Zone records.
void convertSchema0(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb,
                    const char* oldTableName, const char* newTableName);

}  // namespace Zone

}  // namespace Pvn::Persist::History::Kiv::Schema1::Bramal
