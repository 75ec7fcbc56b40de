package com.pellix;

import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.Executor;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.RejectedExecutionException;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * Runs the library's main queue on an executor, and what comes of it. The host's code never runs
 * within a callback of the library, so it may do there what it likes: close, exit, throw, block.
 */
final class MainQueue {
  private final ExecutorService own; // null if the host has given one
  private final Executor executor;
  private final Queue<Runnable> endings = new ConcurrentLinkedQueue<>();
  private final AtomicInteger wakes = new AtomicInteger();
  private volatile boolean isOver;

  MainQueue(Executor hosts) {
    own = hosts != null ? null : Executors.newSingleThreadExecutor(task -> {
      Thread thread = new Thread(task, "pellix");
      thread.setDaemon(true);
      return thread;
    });
    executor = hosts != null ? hosts : own;
  }

  void add(Runnable ending) {
    if (isOver) return;
    endings.add(ending);
    wake();
  }

  /** One run is under way at a time, whatever the executor is. */
  void wake() {
    if (wakes.getAndIncrement() == 0) execute(executor, this::run);
  }

  /** By one thread at a time; an earlier client's may not have ended. */
  void runPending() {
    synchronized (MainQueue.class) {
      Library.runPending();
    }
  }

  private void run() {
    int seen;
    do {
      seen = wakes.get();
      runPending();
      for (Runnable ending; (ending = endings.poll()) != null;) guarded(ending);
    } while (wakes.addAndGet(-seen) != 0);
  }

  /** What is added from now on never runs. */
  void abandon() {
    isOver = true;
  }

  /** What waits still runs. */
  void close() {
    if (own != null) own.shutdown();
  }

  /** On this thread if the executor does not take any more. */
  static void execute(Executor executor, Runnable task) {
    try {
      executor.execute(() -> guarded(task));
    } catch (RejectedExecutionException refused) {
      guarded(task);
    }
  }

  /** What the host's code throws is for the thread's handler, and goes no further. */
  static void guarded(Runnable task) {
    try {
      task.run();
    } catch (Throwable thrown) {
      Thread thread = Thread.currentThread();
      thread.getUncaughtExceptionHandler().uncaughtException(thread, thrown);
    }
  }
}
