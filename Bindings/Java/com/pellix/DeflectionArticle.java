package com.pellix;

import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.IntStream;

/** One article. Immutable; equal if the content is, texts by canonical equivalence. */
public final class DeflectionArticle extends NativeObject {
  DeflectionArticle(long handle) {
    super(DEFLECTION_ARTICLE, handle);
  }

  /** The identifier of the proposal; another one than the article's. */
  public long id() {
    return number(ID);
  }

  public String title() {
    return text(TITLE, 0);
  }

  /** The article's page for people, as received. */
  public String htmlURL() {
    return text(HTML_URL, 0);
  }

  /** The article's address for programs, as received. */
  public String url() {
    return text(URL, 0);
  }

  /** The list can't be changed. */
  public List<String> labelNames() {
    return IntStream.range(0, (int) number(LABELS))
        .mapToObj(index -> text(LABEL, index))
        .collect(Collectors.toUnmodifiableList());
  }

  /** HTML, as received. */
  public String body() {
    return text(BODY, 0);
  }

  /** The identifier of the article in the knowledge base: the one to resolve or reject with. */
  public long articleId() {
    return number(DEFLECTION_ARTICLE);
  }

  public String locale() {
    return text(LOCALE, 0);
  }

  public long brandId() {
    return number(BRAND_ID);
  }

  /** How well the article answers; more is better. */
  public double score() {
    return realScore();
  }

  /** HTML, as received. */
  public String snippet() {
    return text(SNIPPET, 0);
  }

  @Override
  public String toString() {
    return "DeflectionArticle[" + articleId() + ", " + title() + "]";
  }
}
