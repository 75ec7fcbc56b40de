package com.pellix;

import java.util.Collections;
import java.util.SortedMap;
import java.util.TreeMap;

/** What a server answered, but for the body. Immutable; equal if the content is. */
public final class HTTPURLResponse extends NativeObject {
  HTTPURLResponse(long handle) {
    super(HTTP_RESPONSE, handle);
  }

  public int statusCode() {
    return (int) number(HTTP_RESPONSE);
  }

  /** The address that answered. */
  public String url() {
    return text(RESPONSE_URL, 0);
  }

  /** Every header field once, found without regard to case. The map can't be changed. */
  public SortedMap<String, String> allHeaderFields() {
    SortedMap<String, String> fields = new TreeMap<>(String.CASE_INSENSITIVE_ORDER);
    for (int index = 0; index < number(HEADERS); ++index) {
      fields.put(text(HEADER, index), text(HEADER_VALUE, index));
    }
    return Collections.unmodifiableSortedMap(fields);
  }

  @Override
  public String toString() {
    return "HTTPURLResponse[" + statusCode() + ", " + url() + "]";
  }
}
