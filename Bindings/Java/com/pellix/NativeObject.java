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
  // Besides these, the number of a kind is the one that identifies an object of it.
  @Native static final int ARTICLES = 6, ID = 7, LABELS = 8, BRAND_ID = 9, HEADERS = 10;
  @Native static final int TOKEN = 0, TITLE = 1, HTML_URL = 2, URL = 3, LABEL = 4, BODY = 5,
      LOCALE = 6, SNIPPET = 7, DATA = 8, RESPONSE_URL = 9, HEADER = 10, HEADER_VALUE = 11;
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

  final String text(int field, int index) {
    return new String(bytes(field, index), StandardCharsets.UTF_8);
  }

  /** Whether the content is the same, texts by canonical equivalence. */
  @Override
  public final boolean equals(Object other) {
    return other instanceof NativeObject && isEqual(kind, (NativeObject) other);
  }

  /** Made of a number: equal texts may consist of other characters. */
  @Override
  public final int hashCode() {
    return Long.hashCode(number(kind));
  }

  final native byte[] bytes(int field, int index);
  final native long number(int field);
  final native double realScore();
  /** A reference to an object of that kind that belongs to this one. */
  final native long part(int kind, int index);
  final native void start(int operation, byte[] text, long deflectionId, long articleId, long reason,
      Pending<?> pending);
  private native boolean isEqual(int kind, NativeObject other);
}
