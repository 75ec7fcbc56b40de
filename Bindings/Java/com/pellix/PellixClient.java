package com.pellix;

import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Objects;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.Executor;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.function.BiConsumer;
import java.util.function.Consumer;
import java.util.function.LongConsumer;
import java.util.function.LongFunction;
import java.util.function.Supplier;
import java.util.stream.Collectors;

/**
 * Asks an account's answer service, and reports which article resolved a question or did not.
 *
 * <p>Results. An operation has a form that gives a future and one that calls back. Each ends once:
 * with a record, with a {@link PellixException} that has a domain and a code, or with a {@link
 * SilentEndException} if there is no word of how it ended. Futures are completed, and what depends on
 * them runs, on the builder's executor: by default one daemon thread, so do not wait there for
 * another result. A future that is cancelled is let go of; the request is not taken back. What a
 * callback throws goes to the {@link Thread.UncaughtExceptionHandler} of its thread.
 *
 * <p>Threads. Any method may be called on any thread.
 *
 * <p>Arguments. Null is a {@link NullPointerException}; a text that holds half of a surrogate pair,
 * or a time below zero, is an {@link IllegalArgumentException}. A closed client throws {@link
 * IllegalStateException}. Nothing is sent then.
 *
 * <p>One client. A process has one account at a time: while a client is open, another one can't be.
 *
 * <p>The end. A client that is open does not keep Java alive. Java may end at any time and in any
 * way; futures of operations under way are not completed then.
 *
 * <p>Log lines go to the {@link System.Logger} {@code com.pellix}; which levels it takes is asked
 * when a client is opened.
 */
public final class PellixClient implements AutoCloseable {
  private static final AtomicBoolean isAnyOpen = new AtomicBoolean();

  private final AtomicBoolean isClosed = new AtomicBoolean();
  private final Thread hook = new Thread(this::endWithJava, "pellix-end");
  private final MainQueue queue;
  private final NativeObject provider;

  private PellixClient(Builder chosen) {
    if (!isAnyOpen.compareAndSet(false, true)) {
      throw new IllegalStateException("A client is open already: a process has one at a time.");
    }
    queue = new MainQueue(chosen.executor);
    try {
      Runtime.getRuntime().addShutdownHook(hook);
      provider = new NativeObject(open(chosen, queue));
    } catch (Throwable thrown) {
      cleanUp();
      throw thrown;
    }
  }

  private static long open(Builder chosen, MainQueue queue) {
    long configuration = Library.configuration();
    try {
      chosen.choices.forEach(choice -> choice.accept(configuration));
      return Library.open(chosen.accountUrl, configuration, chosen.lumenoLocaleOverride, queue,
          Library.logLevel());
    } finally {
      Library.release(configuration);
    }
  }

  /**
   * Begins to set up a client.
   *
   * @param accountUrl https, or http to loopback
   */
  public static Builder builder(String accountUrl) {
    return new Builder(accountUrl);
  }

  /** The version that requests carry. */
  public static String version() {
    return Library.version();
  }

  /**
   * Gets ready, in the background, for what a person is about to ask, and returns at once. To be
   * called when a help screen opens: the first question costs one round trip then. If it fails, there
   * is one line in the log.
   */
  public void prepare() {
    requireOpen();
    Library.prepare();
  }

  /** Asks for articles that may answer a person's question, which is sent as it is. */
  public CompletableFuture<DeflectionResponse> ask(String question) {
    byte[] text = Library.utf8(question, "question");
    return start(DeflectionResponse::new, pending -> Library.ask(provider, text, pending));
  }

  /** The same; one of the callback's arguments is null. */
  public void ask(String question, Executor executor,
      BiConsumer<? super DeflectionResponse, ? super PellixException> callback) {
    handOn(() -> ask(question), executor, callback);
  }

  /**
   * Reports that an article resolved the question, and votes for it in the knowledge base. The vote
   * may still be on its way when the result comes; {@link #close} waits for it.
   *
   * @param deflectionId the deflection's {@link Deflection#deflectionID}
   * @param articleId the article's {@link DeflectionArticle#articleId}
   * @param interactionAccessToken the response's
   */
  public CompletableFuture<PellixDispatcherResponse> resolve(long deflectionId, long articleId,
      String interactionAccessToken) {
    byte[] token = Library.utf8(interactionAccessToken, "interactionAccessToken");
    return start(PellixDispatcherResponse::new,
        pending -> Library.resolve(provider, deflectionId, articleId, token, pending));
  }

  /** The same; one of the callback's arguments is null. */
  public void resolve(long deflectionId, long articleId, String interactionAccessToken,
      Executor executor,
      BiConsumer<? super PellixDispatcherResponse, ? super PellixException> callback) {
    handOn(() -> resolve(deflectionId, articleId, interactionAccessToken), executor, callback);
  }

  /** Reports that an article did not resolve the question; the arguments are those of resolve. */
  public CompletableFuture<PellixDispatcherResponse> reject(long deflectionId, long articleId,
      String interactionAccessToken, RejectionReason reason) {
    byte[] token = Library.utf8(interactionAccessToken, "interactionAccessToken");
    long number = reason.ordinal();
    return start(PellixDispatcherResponse::new,
        pending -> Library.reject(provider, deflectionId, articleId, token, number, pending));
  }

  /** The same; one of the callback's arguments is null. */
  public void reject(long deflectionId, long articleId, String interactionAccessToken,
      RejectionReason reason, Executor executor,
      BiConsumer<? super PellixDispatcherResponse, ? super PellixException> callback) {
    handOn(() -> reject(deflectionId, articleId, interactionAccessToken, reason), executor, callback);
  }

  /** The same, with a limit of ten seconds. */
  @Override
  public void close() {
    close(Duration.ofSeconds(10));
  }

  /**
   * Waits for so long at most until nothing is under way, votes included; what is left then ends
   * silently. Does nothing if the client is closed. Where a result has come on the library's own
   * thread, for want of an executor that takes it, nothing is waited for. Token suppliers and loggers
   * that are running then are waited for besides, ten seconds at most. Not to be called by these.
   */
  public void close(Duration limit) {
    close(milliseconds(limit, "limit"), 10_000);
  }

  /** Token suppliers and loggers that run are waited for in the end. */
  private void close(long forIdle, long forRunning) {
    if (isClosed.getAndSet(true)) return;
    if (forIdle > 0) Library.waitUntilIdle(forIdle);
    queue.runPending(); // what has an answer is not to lose it
    Library.close(forRunning);
    cleanUp();
  }

  /** The library must not call Java any more; and nobody is to take the end for a result. */
  private void endWithJava() {
    queue.abandon();
    close(0, 1000);
  }

  private void cleanUp() {
    queue.close();
    try {
      Runtime.getRuntime().removeShutdownHook(hook);
    } catch (IllegalStateException ending) {
      // The hooks run already.
    }
    isAnyOpen.set(false);
  }

  private void requireOpen() {
    if (isClosed.get()) throw new IllegalStateException("The client is closed.");
  }

  private <T> CompletableFuture<T> start(LongFunction<T> wrap, Consumer<Pending<T>> begin) {
    requireOpen();
    queue.wakeAgain();
    Pending<T> pending = new Pending<>(queue, wrap);
    begin.accept(pending);
    return pending.future;
  }

  private static <T> void handOn(Supplier<CompletableFuture<T>> start, Executor executor,
      BiConsumer<? super T, ? super PellixException> callback) {
    Objects.requireNonNull(executor, "executor");
    Objects.requireNonNull(callback, "callback");
    start.get().whenComplete((record, error) -> MainQueue.execute(
        executor, () -> callback.accept(record, (PellixException) error)));
  }

  private static long milliseconds(Duration time, String name) {
    if (time.isNegative()) throw new IllegalArgumentException(name + " is below zero");
    Duration longest = Duration.ofDays(365);
    return (time.compareTo(longest) < 0 ? time : longest).toMillis();
  }

  /** What a host may choose. To be used by one thread at a time. */
  public static final class Builder {
    private final List<LongConsumer> choices = new ArrayList<>(); // for a configuration
    private final byte[] accountUrl;
    private byte[] lumenoLocaleOverride;
    private Executor executor;

    private Builder(String accountUrl) {
      this.accountUrl = Library.utf8(accountUrl, "accountUrl");
    }

    /** The bearer token of all requests that need one. */
    public Builder token(String token) {
      return text(Library::setToken, token, "token");
    }

    /**
     * Supplies the token of one request; null if there is none. Runs on any thread, also on several
     * at once, should be quick, and must not use the client. What it throws goes to the thread's
     * handler, and there is no token then.
     */
    public Builder token(Supplier<String> token) {
      Objects.requireNonNull(token, "token");
      return choose(configuration -> Library.setTokenSupplier(configuration, token));
    }

    /** A file of trusted certificates in PEM, in place of the system's. */
    public Builder certificateAuthorities(Path file) {
      return text(Library::setCertificateAuthorities, file.toString(), "certificateAuthorities");
    }

    /**
     * {@code [SCHEME://][USER:PASSWORD@]HOST[:PORT]}; empty, as at first: what the environment says.
     */
    public Builder proxy(String address) {
      return text(Library::setProxy, address, "proxy");
    }

    /** Whether to pay no attention to what the environment says of proxies. */
    public Builder ignoreProxyEnvironment(boolean ignore) {
      return choose(configuration -> Library.setIgnoreProxyEnvironment(configuration, ignore ? 1 : 0));
    }

    /** How long a connection may take to be made. */
    public Builder connectTimeout(Duration limit) {
      return time(Library::setConnectTimeout, limit, "connectTimeout");
    }

    /** How long a request may take in all. */
    public Builder requestTimeout(Duration limit) {
      return time(Library::setRequestTimeout, limit, "requestTimeout");
    }

    /** How long a request for settings may take in all; never longer than other ones. */
    public Builder settingsTimeout(Duration limit) {
      return time(Library::setSettingsTimeout, limit, "settingsTimeout");
    }

    /** How many bytes a reply's body may have. */
    public Builder maxResponseBytes(int bytes) {
      if (bytes < 0) throw new IllegalArgumentException("maxResponseBytes is below zero");
      return choose(configuration -> Library.setMaxResponseBytes(configuration, bytes));
    }

    /** How long settings are kept before they are fetched anew. */
    public Builder settingsTimeToLive(Duration time) {
      return time(Library::setSettingsTimeToLive, time, "settingsTimeToLive");
    }

    /**
     * Whether the secrets of TLS connections are written to the file that SSLKEYLOGFILE names: for all
     * clients of a process or for none, since they share connections. Never in production.
     */
    public Builder logsTlsSecrets(boolean logs) {
      return choose(configuration -> Library.setLogsTlsSecrets(configuration, logs ? 1 : 0));
    }

    /** The locale to search in, whatever the knowledge base's settings and the languages say. */
    public Builder lumenoLocaleOverride(String locale) {
      lumenoLocaleOverride = Library.utf8(locale, "lumenoLocaleOverride");
      return this;
    }

    /** The person's languages, most preferred first, in place of what the environment says. */
    public Builder preferredLanguages(List<Locale> languages) {
      String tags = languages.stream()
          .map(language -> language.toLanguageTag() + "\0")
          .collect(Collectors.joining());
      byte[] bytes = Library.utf8(tags, "preferredLanguages");
      return choose(configuration -> Library.setPreferredLanguages(bytes));
    }

    /**
     * Where results come, one at a time; a loop of the host's own, for instance. If it throws, they
     * come on the thread that has them; what it has not run when the client is closed comes on the
     * thread that closes.
     */
    public Builder executor(Executor executor) {
      this.executor = Objects.requireNonNull(executor, "executor");
      return this;
    }

    /**
     * Opens the client.
     *
     * @throws PellixException if the library refuses what was chosen
     * @throws IllegalStateException if a client is open already
     */
    public PellixClient open() {
      return new PellixClient(this);
    }

    private Builder choose(LongConsumer choice) {
      choices.add(choice);
      return this;
    }

    private Builder text(BiConsumer<Long, byte[]> set, String text, String name) {
      byte[] bytes = Library.utf8(text, name);
      return choose(configuration -> set.accept(configuration, bytes));
    }

    private Builder time(BiConsumer<Long, Long> set, Duration time, String name) {
      long milliseconds = milliseconds(time, name);
      return choose(configuration -> set.accept(configuration, milliseconds));
    }
  }
}
