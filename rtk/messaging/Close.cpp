// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/Close.h"

#include "rtk/messaging/SyncReturnHandler.h"

namespace Rtk {

Close::Close(PostMessageApi& postMessageApi)
    : Open(postMessageApi), _closeSAP(*this, postMessageApi) {}

void Close::close() {
  SyncReturnHandler returnHandler;
  ClosePayload payload;
  ServerRequest<CloseReqApi, ClosePayload> request(*this, payload, returnHandler);
  _postMessageApi.postSync(request);
}

}  // namespace Rtk
