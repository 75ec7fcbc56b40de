package com.pellix;

import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.IntStream;

/** An answer to a question. Immutable; equal if the content is, texts by canonical equivalence. */
public final class DeflectionResponse extends NativeObject {
  private final Deflection deflection = new Deflection(part(DEFLECTION, 0));
  private final List<DeflectionArticle> deflectionArticles =
      IntStream.range(0, (int) number(ARTICLES))
          .mapToObj(index -> new DeflectionArticle(part(DEFLECTION_ARTICLE, index)))
          .collect(Collectors.toUnmodifiableList());

  DeflectionResponse(long handle) {
    super(DEFLECTION_RESPONSE, handle);
  }

  public Deflection deflection() {
    return deflection;
  }

  /** What may answer the question, in the order received. The list can't be changed. */
  public List<DeflectionArticle> deflectionArticles() {
    return deflectionArticles;
  }

  /** The token to resolve or reject with: a secret. */
  public String interactionAccessToken() {
    return text(TOKEN, 0);
  }

  /** Says nothing of the token. */
  @Override
  public String toString() {
    return "DeflectionResponse[" + deflection + ", " + deflectionArticles + "]";
  }
}
