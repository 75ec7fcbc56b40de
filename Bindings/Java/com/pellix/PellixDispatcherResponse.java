package com.pellix;

import java.util.Optional;

/** What was answered to a report. Immutable; equal if the content is. */
public final class PellixDispatcherResponse extends NativeObject {
  private final HTTPURLResponse response = new HTTPURLResponse(part());

  PellixDispatcherResponse(long handle) {
    super(handle);
  }

  /** What the server answered, but for the body. */
  public HTTPURLResponse response() {
    return response;
  }

  /** A copy of the body; absent if there was none, which is not the same as an empty one. */
  public Optional<byte[]> data() {
    return Optional.ofNullable(body());
  }

  private native long part();

  private native byte[] body();

  @Override public native boolean equals(Object other);

  @Override public native int hashCode();

  @Override
  public String toString() {
    return "PellixDispatcherResponse[" + response + "]";
  }
}
