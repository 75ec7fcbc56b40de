package com.pellix;

/** Why an operation, or the set-up of a client, has failed. The message is one line for people. */
public class PellixException extends RuntimeException {
  private static final long serialVersionUID = 1;

  /**
   * The feature is disabled for the account; the code is 1006. If that is because the settings could
   * not be had, the cause says why.
   */
  public static final String DISABLED_DOMAIN = "QV_Pellix_Disabled";
  /** The service answered with a status outside 200 to 299, which is the code. */
  public static final String SERVICE_DOMAIN = "com.pellix.providers";
  /** Address, token, network, certificates; {@link CoreError} has the codes. */
  public static final String CORE_DOMAIN = "com.quorvel.core";
  /** A reply has another shape than it should have; the message says where. */
  public static final String DECODING_DOMAIN = "Platform.DecodingError";

  private final String domain;
  private final long code;

  /** Called by the library. */
  PellixException(String domain, long code, String message) {
    super(message);
    this.domain = domain;
    this.code = code;
  }

  /** One of the constants above; empty for a silent end. */
  public final String domain() {
    return domain;
  }

  /** Which it is of its domain. */
  public final long code() {
    return code;
  }
}
