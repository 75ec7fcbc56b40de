package com.pellix;

import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.Executor;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.atomic.AtomicBoolean;

/**
 * Runs the library's main queue on an executor, and what comes of it. The host's code does not run
 * within a callback of the library, so it may do there what it likes: close, exit, throw, block. Only
 * an executor that refuses a run, or runs it at once, has it there.
 */
final class MainQueue {
  private final ExecutorService own; // null if the host has given one
  private volatile Executor executor;
  private final Queue<Runnable> endings = new ConcurrentLinkedQueue<>();
  private final AtomicBoolean isWanted = new AtomicBoolean();
  private final AtomicBoolean isRunning = new AtomicBoolean();
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

  void wake() {
    if (!isWanted.getAndSet(true)) submit();
  }

  /** The executor may have dropped a run: one that is shut down does. */
  void wakeAgain() {
    if (isWanted.get()) submit();
  }

  private void submit() {
    if (!isRunning.get()) execute(executor, this::run);
  }

  /** By one thread at a time; an earlier client's may not have ended. */
  void runPending() {
    synchronized (MainQueue.class) {
      Library.runPending();
    }
  }

  /** One run is under way at a time, whatever the executor is; it sees what comes meanwhile. */
  private void run() {
    while (isWanted.get() && isRunning.compareAndSet(false, true)) {
      isWanted.set(false);
      try {
        runPending();
        for (Runnable ending; (ending = endings.poll()) != null;) guarded(ending);
      } finally {
        isRunning.set(false);
      }
    }
  }

  /** What is added from now on never runs. */
  void abandon() {
    isOver = true;
  }

  /** What waits still runs: here, for a host's executor may have dropped it without a word. */
  void close() {
    if (own == null) executor = Runnable::run;
    if (!isOver) {
      isWanted.set(true);
      submit();
    }
    if (own != null) own.shutdown();
  }

  /** On this thread if the executor does not take any more, in whatever way it says so. */
  static void execute(Executor executor, Runnable task) {
    try {
      executor.execute(() -> guarded(task));
    } catch (RuntimeException | Error refused) {
      guarded(task);
    }
  }

  /** What the host's code throws is for the thread's handler, and goes no further. */
  static void guarded(Runnable task) {
    try {
      task.run();
    } catch (Throwable thrown) {
      Thread thread = Thread.currentThread();
      try {
        thread.getUncaughtExceptionHandler().uncaughtException(thread, thrown);
      } catch (Throwable ignored) {
        // So does Java.
      }
    }
  }
}
