package com.pellix;

/**
 * An operation has ended with neither a record nor an error. The client was closed meanwhile, or it
 * is one of the other endings that are silent by design: see the library's page on troubleshooting.
 */
public final class SilentEndException extends PellixException {
  private static final long serialVersionUID = 1;

  SilentEndException() {
    super("", 0, "The operation ended without an answer.");
  }
}
