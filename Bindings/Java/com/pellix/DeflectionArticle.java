package com.pellix;

import java.util.List;

/** One article. Immutable; equal if the content is, texts by canonical equivalence. */
public final class DeflectionArticle extends NativeObject {
  DeflectionArticle(long handle) {
    super(handle);
  }

  /** The identifier of the proposal; another one than the article's. */
  public native long id();

  /** The title. */
  public native String title();

  /** The article's page for people, as received. */
  public native String htmlURL();

  /** The article's address for programs, as received. */
  public native String url();

  /** The labels. The list can't be changed. */
  public List<String> labelNames() {
    return List.of(labels());
  }

  private native String[] labels();

  /** HTML, as received. */
  public native String body();

  /** The identifier of the article in the knowledge base: the one to resolve or reject with. */
  public native long articleId();

  /** The language. */
  public native String locale();

  /** The identifier of the brand. */
  public native long brandId();

  /** How well the article answers; more is better. */
  public native double score();

  /** HTML, as received. */
  public native String snippet();

  @Override public native boolean equals(Object other);

  /** Made of a number: equal texts may consist of other characters. */
  @Override public native int hashCode();

  @Override
  public String toString() {
    return "DeflectionArticle[" + articleId() + ", " + title() + "]";
  }
}
