package com.pellix;

/** What an answer belongs to. Immutable; equal if the content is. */
public final class Deflection extends NativeObject {
  Deflection(long handle) {
    super(handle);
  }

  /** The identifier to resolve or reject with. */
  public native long deflectionID();

  @Override public native boolean equals(Object other);

  @Override public native int hashCode();

  @Override
  public String toString() {
    return "Deflection[" + deflectionID() + "]";
  }
}
