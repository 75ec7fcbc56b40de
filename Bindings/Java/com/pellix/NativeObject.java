package com.pellix;

import java.lang.ref.Cleaner;

/**
 * A reference to one of the library's objects, given back when Java lets go of this one. Native
 * methods get this and not just the handle, so that it is there until they return.
 */
class NativeObject {
  private static final Cleaner cleaner = Cleaner.create();
  private final long handle;

  /** Takes a reference over. */
  NativeObject(long handle) {
    this.handle = handle;
    cleaner.register(this, () -> Library.release(handle));
  }
}
