package com.pellix;

import java.lang.annotation.Native;
import java.lang.ref.Cleaner;
import java.nio.charset.StandardCharsets;

/**
 * A reference to one of the library's objects, given back when Java lets go of this one. The native
 * methods are not static, so that it is there until they return.
 */
class NativeObject {
  @Native static final int DEFLECTION_RESPONSE = 0, DEFLECTION = 1, DEFLECTION_ARTICLE = 2,
      DISPATCHER_RESPONSE = 3, HTTP_RESPONSE = 4, PROVIDER = 5;
  @Native static final int TOKEN = 0, TITLE = 1, HTML_URL = 2, URL = 3, LABEL = 4, BODY = 5,
      LOCALE = 6, SNIPPET = 7, DATA = 8, RESPONSE_URL = 9, HEADER = 10, HEADER_VALUE = 11;
  @Native static final int ARTICLES = 0, DEFLECTION_ID = 1, ID = 2, LABELS = 3, ARTICLE_ID = 4,
      BRAND_ID = 5, STATUS_CODE = 6, HEADERS = 7;
  @Native static final int ASK = 0, RESOLVE = 1, REJECT = 2;

  private static final Cleaner cleaner = Cleaner.create();
  private final int kind;
  private final long handle;

  /** Takes a reference over. */
  NativeObject(int kind, long handle) {
    this.kind = kind;
    this.handle = handle;
    cleaner.register(this, () -> Library.release(handle));
  }

  final byte[] bytes(int field, int index) {
    return bytes(handle, field, index);
  }

  final String text(int field, int index) {
    return new String(bytes(field, index), StandardCharsets.UTF_8);
  }

  final String text(int field) {
    return text(field, 0);
  }

  final long number(int field) {
    return number(handle, field);
  }

  final double real() {
    return real(handle);
  }

  /** A reference to an object of that kind that belongs to this one. */
  final long part(int kind, int index) {
    return part(handle, kind, index);
  }

  final void start(int operation, byte[] text, long deflectionId, long articleId, long reason,
      Pending<?> pending) {
    start(handle, operation, text, deflectionId, articleId, reason, pending);
  }

  /** Whether the content is the same, texts by canonical equivalence. */
  @Override
  public final boolean equals(Object other) {
    return other instanceof NativeObject
        && isEqual(handle, kind, (NativeObject) other, ((NativeObject) other).handle);
  }

  /** Made of numbers alone: equal texts may consist of other characters. */
  @Override
  public int hashCode() {
    return kind;
  }

  private native byte[] bytes(long handle, int field, int index);
  private native long number(long handle, int field);
  private native double real(long handle);
  private native long part(long handle, int kind, int index);
  private native boolean isEqual(long handle, int kind, NativeObject other, long otherHandle);
  private native void start(long handle, int operation, byte[] text, long deflectionId,
      long articleId, long reason, Pending<?> pending);
}
