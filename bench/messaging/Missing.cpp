// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// In the place of the peers whose libraries are not installed.

#include "bench/messaging/Peer.h"

namespace Bench::Messaging {

#ifdef WITHOUT_ASIO
std::unique_ptr<Server> asioServer(int /*core*/) {
  return nullptr;
}

std::unique_ptr<Drain> asioDrain(int /*core*/, Sink& /*sink*/, int /*batch*/) {
  return nullptr;
}
#endif

#ifdef WITHOUT_ZERO_MQ
std::unique_ptr<Server> zeroMqServer(int /*core*/) {
  return nullptr;
}
#endif

#ifdef WITHOUT_ACTOR
std::unique_ptr<Server> actorServer(int /*core*/) {
  return nullptr;
}
#endif

}  // namespace Bench::Messaging
