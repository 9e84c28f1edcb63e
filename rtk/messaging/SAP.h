// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/PostMessageApi.h"

namespace Rtk {

/// A service access point: all that a client needs to call a service. It binds the request
/// interface `Api` of the service to the mailbox of the thread that serves it, owns neither, and
/// does not change once made, so that any thread may use it. The service owns it, as a rule.
/// Nothing is fatal here.
template <class Api>
class SAP : public PostMessageApi {
 public:
  /// REQUIRES: both outlive this object. Any thread.
  SAP(Api& api, PostMessageApi& postMessageApi) : _api(api), _postMessageApi(postMessageApi) {}

  /// Any thread.
  void post(Message& message) override { _postMessageApi.post(message); }

  /// Any thread of the framework but the server's own.
  void postSync(Message& message) override { _postMessageApi.postSync(message); }

  /// What to address a ServerRequest to. Any thread.
  virtual Api& getRequestApi() { return _api; }

  /// Any thread.
  PostMessageApi& getPostMessageApi() { return _postMessageApi; }

 private:
  Api& _api;
  PostMessageApi& _postMessageApi;
};

}  // namespace Rtk
