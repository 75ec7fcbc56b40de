package com.pellix;

import java.util.Collections;
import java.util.SortedMap;
import java.util.TreeMap;

/** What a server answered, but for the body. Immutable; equal if the content is. */
public final class HTTPURLResponse extends NativeObject {
  HTTPURLResponse(long handle) {
    super(handle);
  }

  /** The status. */
  public native int statusCode();

  /** The address that answered. */
  public native String url();

  /** Every header field once, found without regard to case. The map can't be changed. */
  public SortedMap<String, String> allHeaderFields() {
    SortedMap<String, String> fields = new TreeMap<>(String.CASE_INSENSITIVE_ORDER);
    String[] names = headerNames();
    String[] values = headerValues();
    // Names that differ to the library may be equal here; they become one as there.
    for (int i = 0; i < names.length; ++i) fields.merge(names[i], values[i], (a, b) -> a + ", " + b);
    return Collections.unmodifiableSortedMap(fields);
  }

  private native String[] headerNames();

  private native String[] headerValues();

  @Override public native boolean equals(Object other);

  @Override public native int hashCode();

  @Override
  public String toString() {
    return "HTTPURLResponse[" + statusCode() + ", " + url() + "]";
  }
}
