#pragma once

#include "Endpoints.h"

#include <httplib.h>

namespace AnswerService {

/// Takes each request through its checks to its endpoint, and lets endpoints misbehave. The context
/// is borrowed.
void addRoutes(httplib::Server& server, const Context& context);

}  // namespace AnswerService
