package com.pellix;

/** The codes of {@link PellixException#CORE_DOMAIN}. */
public final class CoreError {
  /** The account's address is no absolute URL, or says too much. */
  public static final int INVALID_ACCOUNT_URL = 1;
  /** An address is not https, and not loopback either. */
  public static final int INSECURE_URL = 2;
  /** A bearer token is needed and there is none. */
  public static final int MISSING_TOKEN = 3;
  /** A token or header can't stand in a request. */
  public static final int INVALID_HEADER = 4;
  /** The account details do not come from a core instance. */
  public static final int NOT_INITIALIZED = 5;
  /** The host's name is unknown. */
  public static final int CANNOT_RESOLVE_HOST = 6;
  /** The proxy's name is unknown. */
  public static final int CANNOT_RESOLVE_PROXY = 7;
  /** The host, or the proxy, does not accept a connection. */
  public static final int CANNOT_CONNECT = 8;
  /** A time limit has passed. */
  public static final int TIMED_OUT = 9;
  /** The server's certificate is not one to be trusted. */
  public static final int UNTRUSTED_CERTIFICATE = 10;
  /** No secure connection could be set up. */
  public static final int SECURE_CONNECTION_FAILED = 11;
  /** The trusted certificates can't be read. */
  public static final int UNREADABLE_CERTIFICATE_STORE = 12;
  /** The connection broke before the reply was complete. */
  public static final int CONNECTION_LOST = 13;
  /** The reply is not proper HTTP. */
  public static final int MALFORMED_REPLY = 14;
  /** The reply is larger than what is accepted. */
  public static final int REPLY_TOO_LARGE = 15;
  /** The proxy refused to pass the request on. */
  public static final int PROXY_FAILED = 16;
  /** The request failed in some other way. */
  public static final int TRANSPORT_FAILED = 17;
  /** The token would go to another server than the account's. */
  public static final int FOREIGN_ORIGIN = 18;
  /** The proxy's address can't be used. */
  public static final int INVALID_PROXY = 19;

  private CoreError() {}
}
