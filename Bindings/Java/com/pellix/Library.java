package com.pellix;

import java.lang.System.Logger.Level;
import java.lang.annotation.Native;
import java.net.URISyntaxException;
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystemNotFoundException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.Objects;
import java.util.function.Supplier;

/** The native library: what is called there, and what it calls here. */
final class Library {
  @Native static final int ACCOUNT_URL = 0, PRESET_TOKEN = 1, CERTIFICATES = 2, PROXY = 3,
      LOCALE_OVERRIDE = 4, LANGUAGES = 5, TEXTS = 6;
  @Native static final int CONNECT_TIMEOUT = 0, REQUEST_TIMEOUT = 1, TIME_TO_LIVE = 2,
      MAX_RESPONSE_BYTES = 3, IGNORE_PROXY_ENVIRONMENT = 4, LOGS_TLS_SECRETS = 5,
      SETTINGS_TIMEOUT = 6, NUMBERS = 7;

  private static final System.Logger logger = System.getLogger("com.pellix");
  // From the library's lowest one; what it calls information, it does not show by itself either.
  private static final Level[] levels = {Level.TRACE, Level.DEBUG, Level.WARNING, Level.ERROR};

  static {
    Path file = file();
    if (file == null) System.loadLibrary("pellix-jni");
    else System.load(file.toString());
  }

  private Library() {}

  /** The file that a property names, or that stands beside the jar; else Java has to search. */
  private static Path file() {
    String named = System.getProperty("com.pellix.library");
    if (named != null) return Path.of(named).toAbsolutePath();
    CodeSource jar = Library.class.getProtectionDomain().getCodeSource();
    if (jar == null || jar.getLocation() == null) return null;
    try {
      Path beside = Path.of(jar.getLocation().toURI())
          .resolveSibling(System.mapLibraryName("pellix-jni"));
      return Files.exists(beside) ? beside : null;
    } catch (URISyntaxException | IllegalArgumentException | FileSystemNotFoundException noFile) {
      return null;
    }
  }

  /** Strictly, and not as JNI has it. */
  static byte[] utf8(String text, String name) {
    try {
      ByteBuffer bytes = StandardCharsets.UTF_8.newEncoder().encode(
          CharBuffer.wrap(Objects.requireNonNull(text, name)));
      byte[] result = new byte[bytes.remaining()];
      bytes.get(result);
      return result;
    } catch (CharacterCodingException surrogate) {
      throw new IllegalArgumentException(name + " is not Unicode: half of a surrogate pair");
    }
  }

  /** The lowest level that the logger takes, as the library counts them. */
  static int logLevel() {
    int level = 0;
    while (level < levels.length && !logger.isLoggable(levels[level])) ++level;
    return level;
  }

  /** A reference to the provider. */
  static native long open(byte[][] texts, long[] numbers, Supplier<String> token, MainQueue queue,
      int logLevel);
  static native void close(long milliseconds);
  static native void waitUntilIdle(long milliseconds);
  static native PellixException lastSettingsFailure();
  static native void runPending();
  static native void release(long handle);
  static native byte[] version();
  static native long liveReferences();

  // The library calls these.

  private static void ended(Pending<?> pending, long record, PellixException error) {
    pending.ended(record, error);
  }

  private static void released(Pending<?> pending) {
    pending.released();
  }

  private static void wake(MainQueue queue) {
    queue.wake();
  }

  private static byte[] token(Supplier<String> supplier) {
    byte[][] token = {null};
    MainQueue.guarded(() -> {
      String supplied = supplier.get();
      if (supplied != null) token[0] = utf8(supplied, "token");
    });
    return token[0];
  }

  private static void log(int level, byte[] line) {
    MainQueue.guarded(() -> logger.log(levels[level], new String(line, StandardCharsets.UTF_8)));
  }
}
