package com.pellix;

import java.lang.System.Logger.Level;
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

  // What a host chooses; for the core, in a configuration that is to be released.
  static native void setPreferredLanguages(byte[] tags); // each up to its NUL
  static native long configuration();
  static native void setToken(long configuration, byte[] token);
  static native void setTokenSupplier(long configuration, Supplier<String> supplier);
  static native void setCertificateAuthorities(long configuration, byte[] path);
  static native void setProxy(long configuration, byte[] address);
  static native void setIgnoreProxyEnvironment(long configuration, long ignore);
  static native void setConnectTimeout(long configuration, long milliseconds);
  static native void setRequestTimeout(long configuration, long milliseconds);
  static native void setSettingsTimeout(long configuration, long milliseconds);
  static native void setMaxResponseBytes(long configuration, long bytes);
  static native void setSettingsTimeToLive(long configuration, long milliseconds);
  static native void setLogsTlsSecrets(long configuration, long logs);

  /** A reference to the provider. */
  static native long open(byte[] accountUrl, long configuration, byte[] localeOverride,
      MainQueue queue, int logLevel);
  static native void close(long milliseconds);
  static native void prepare();
  static native void waitUntilIdle(long milliseconds); // not on the library's thread
  static native PellixException lastSettingsFailure();
  static native void runPending();
  static native void release(long handle);
  static native String version();
  static native long liveReferences();

  static native void ask(NativeObject provider, byte[] question, Pending<?> pending);
  static native void resolve(NativeObject provider, long deflectionId, long articleId, byte[] token,
      Pending<?> pending);
  static native void reject(NativeObject provider, long deflectionId, long articleId, byte[] token,
      long reason, Pending<?> pending);

  // The library calls these, and others by their names.

  private static String text(byte[] utf8) {
    return new String(utf8, StandardCharsets.UTF_8);
  }

  private static byte[] token(Supplier<String> supplier) {
    byte[][] token = {null};
    MainQueue.guarded(() -> {
      String supplied = supplier.get();
      if (supplied != null) token[0] = utf8(supplied, "token");
    });
    return token[0];
  }

  private static void log(int level, String line) {
    MainQueue.guarded(() -> logger.log(levels[level], line));
  }
}
