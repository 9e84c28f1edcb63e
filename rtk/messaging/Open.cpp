// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/Open.h"

#include "rtk/messaging/SyncReturnHandler.h"

namespace Rtk {

Open::Open(PostMessageApi& postMessageApi)
    : _openSAP(*this, postMessageApi), _postMessageApi(postMessageApi) {}

void Open::open() {
  SyncReturnHandler returnHandler;
  OpenPayload payload;
  ServerRequest<OpenReqApi, OpenPayload> request(*this, payload, returnHandler);
  _postMessageApi.postSync(request);
}

}  // namespace Rtk
