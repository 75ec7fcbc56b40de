package com.pellix;

import java.util.Optional;

/** What was answered to a report. Immutable; equal if the content is. */
public final class PellixDispatcherResponse extends NativeObject {
  private final HTTPURLResponse response = new HTTPURLResponse(part(HTTP_RESPONSE, 0));

  PellixDispatcherResponse(long handle) {
    super(DISPATCHER_RESPONSE, handle);
  }

  public HTTPURLResponse response() {
    return response;
  }

  /** A copy of the body; absent if there was none, which is not the same as an empty one. */
  public Optional<byte[]> data() {
    return Optional.ofNullable(bytes(DATA, 0));
  }

  @Override
  public String toString() {
    return "PellixDispatcherResponse[" + response + "]";
  }
}
