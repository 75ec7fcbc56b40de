package com.pellix;

import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.IntStream;

/** An answer to a question. Immutable; equal if the content is, texts by canonical equivalence. */
public final class DeflectionResponse extends NativeObject {
  private final Deflection deflection = new Deflection(part());
  private final List<DeflectionArticle> deflectionArticles = IntStream.range(0, articleCount())
      .mapToObj(index -> new DeflectionArticle(article(index)))
      .collect(Collectors.toUnmodifiableList());

  DeflectionResponse(long handle) {
    super(handle);
  }

  /** What the answer is, to be named in reports. */
  public Deflection deflection() {
    return deflection;
  }

  /** What may answer the question, in the order received. The list can't be changed. */
  public List<DeflectionArticle> deflectionArticles() {
    return deflectionArticles;
  }

  /** The token to resolve or reject with: a secret. */
  public native String interactionAccessToken();

  private native long part();

  private native int articleCount();

  private native long article(int index);

  @Override public native boolean equals(Object other);

  @Override public native int hashCode();

  /** Says nothing of the token. */
  @Override
  public String toString() {
    return "DeflectionResponse[" + deflection + ", " + deflectionArticles + "]";
  }
}
