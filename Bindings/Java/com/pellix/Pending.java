package com.pellix;

import java.util.concurrent.CompletableFuture;
import java.util.function.LongFunction;

/** An operation that has not ended. */
final class Pending<T> {
  final CompletableFuture<T> future = new CompletableFuture<>();
  private final MainQueue queue;
  private final LongFunction<T> wrap;
  private T record;
  private PellixException error;

  Pending(MainQueue queue, LongFunction<T> wrap) {
    this.queue = queue;
    this.wrap = wrap;
  }

  void ended(long record, PellixException error) {
    if (error == null) this.record = wrap.apply(record);
    this.error = error;
    // There may be no settings to be had; then that is why.
    boolean isDisabled = error != null && error.domain().equals(PellixException.DISABLED_DOMAIN);
    if (isDisabled) error.initCause(Library.lastSettingsFailure());
  }

  /** Comes at every end, also at one of which there was no word. */
  void released() {
    queue.add(() -> {
      if (record != null) future.complete(record);
      else future.completeExceptionally(error != null ? error : new SilentEndException());
    });
  }
}
