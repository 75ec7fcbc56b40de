package com.pellix;

/** What an answer belongs to. Immutable; equal if the content is. */
public final class Deflection extends NativeObject {
  Deflection(long handle) {
    super(DEFLECTION, handle);
  }

  /** The identifier to resolve or reject with. */
  public long deflectionID() {
    return number(DEFLECTION);
  }

  @Override
  public String toString() {
    return "Deflection[" + deflectionID() + "]";
  }
}
