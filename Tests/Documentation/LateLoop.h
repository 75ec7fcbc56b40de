#pragma once

#include <PellixPlatform/DispatchQueue.h>
#include <QuorvelCoreSDK/Quorvel.h>

#include <glib.h>

#include <chrono>

/// For a program whose operations end before its loop runs.
inline void runLate(GMainLoop* loop) {
  QuorvelCoreSDK::Quorvel::instance()->waitUntilIdle(std::chrono::minutes(1));
  PellixPlatform::DispatchQueue::main().runPending();
  g_main_loop_run(loop);
}
#define g_main_loop_run runLate
