package com.pellix;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import com.sun.net.httpserver.HttpServer;
import java.lang.ref.WeakReference;
import java.net.InetSocketAddress;
import java.time.Duration;
import java.time.Instant;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Collections;
import java.util.Deque;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionException;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.Executor;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.function.UnaryOperator;
import java.util.logging.Handler;
import java.util.logging.LogRecord;
import java.util.logging.Logger;
import org.junit.BeforeClass;
import org.junit.Test;

/** Every outcome that a host can meet, and a stress. */
public final class ClientTest {
  private static final Logger logger = Logger.getLogger("com.pellix");
  private static final String question = "How do I change my password?";
  private static final BlockingQueue<Throwable> uncaught = new LinkedBlockingQueue<>();

  @BeforeClass
  public static void listen() {
    Thread.setDefaultUncaughtExceptionHandler((thread, thrown) -> uncaught.add(thrown));
    logger.setUseParentHandlers(false);
  }

  @Test
  public void asksResolvesAndRejects() throws Exception {
    try (Service service = new Service(); PellixClient client = service.client().open()) {
      DeflectionResponse answer = client.ask(question).join();
      DeflectionResponse again = client.ask(question).join();
      DeflectionArticle first = answer.deflectionArticles().get(0);
      DeflectionArticle second = answer.deflectionArticles().get(1);
      assertEquals(first, again.deflectionArticles().get(0));
      assertEquals(first.hashCode(), again.deflectionArticles().get(0).hashCode());
      assertFalse(first.equals(second) || answer.equals(again) || answer.equals(null));
      assertFalse(answer.equals((Object) first) || first.equals((Object) question));
      assertFalse(answer.toString().contains(answer.interactionAccessToken()));
      assertEquals("en-us", first.locale());
      assertTrue(first.htmlURL().startsWith("http") && first.score() >= second.score());
      assertTrue(first.body().contains("<") && !first.labelNames().contains(""));

      long deflection = answer.deflection().deflectionID();
      String token = answer.interactionAccessToken();
      PellixDispatcherResponse resolved =
          client.resolve(deflection, first.articleId(), token).join();
      assertEquals(200, resolved.response().statusCode());
      assertEquals("application/json", resolved.response().allHeaderFields().get("content-type"));
      assertTrue(new String(resolved.data().get()).contains("resolution"));
      client.reject(deflection, second.articleId(), token, RejectionReason.REASON_2).join();
      client.close(); // when the vote has arrived
      String record = service.record();
      String about = "\"deflection_id\":" + deflection + ",\"article_id\":";
      assertTrue(record.contains("resolutions\":[{" + about + first.articleId()));
      assertTrue(record.contains("rejections\":[{" + about + second.articleId()));
      assertTrue(record.contains("\"value\":1") && record.contains("\"reason_id\":2"));
    }
  }

  /** Also if names are the same in Java that differ for the library. */
  @Test
  public void givesEachHeaderFieldItsValue() throws Exception {
    HttpServer server = HttpServer.create(new InetSocketAddress("127.0.0.1", 0), 0);
    server.createContext("/", exchange -> {
      exchange.getResponseHeaders().putAll(
          Map.of("X-\u00e8", List.of("1"), "X-\u00e9", List.of("1"), "Y", List.of("2")));
      exchange.sendResponseHeaders(200, 0);
      exchange.getResponseBody().write("{\"pellix\":{\"enabled\":true}}".getBytes());
      exchange.close();
    });
    server.start();
    String url = "http://127.0.0.1:" + server.getAddress().getPort();
    try (PellixClient client = PellixClient.builder(url).token("a-token").open()) {
      Map<String, String> fields = client.resolve(1, 1, "").join().response().allHeaderFields();
      assertEquals("1, 1", fields.get("X-\ufffd")); // as with any field that is repeated
      assertEquals("2", fields.get("Y"));
    } finally {
      server.stop(0);
    }
  }

  /** Not even the one that the environment names. */
  @Test
  public void prefersNoLanguage() throws Exception {
    try (Service service = new Service("knowledge-settings=none");
        PellixClient client = service.client().preferredLanguages(List.of()).open()) {
      client.ask(question).join();
      assertTrue(service.record().contains("\"locale\":\"\""));
    }
  }

  /** Domain and code of the error that asking ends with, or just that it ends silently. */
  private static String outcome(CompletableFuture<?> future) {
    try {
      return future.join().toString();
    } catch (CompletionException thrown) {
      PellixException error = (PellixException) thrown.getCause();
      if (error instanceof SilentEndException) return "silent";
      PellixException cause = (PellixException) error.getCause();
      return error.domain() + " " + error.code()
          + (cause == null ? "" : " for " + cause.domain() + " " + cause.code());
    }
  }

  private static void expectOutcome(String expected, String misbehaviour,
      UnaryOperator<PellixClient.Builder> choose) throws Exception {
    try (Service service = new Service(misbehaviour);
        PellixClient client = choose.apply(service.client()).open()) {
      assertEquals(expected, outcome(client.ask(question)));
    }
  }

  @Test
  public void endsInEveryWay() throws Exception {
    String none = "vote=none"; // nobody votes
    expectOutcome("QV_Pellix_Disabled 1006", "settings=disabled", client -> client);
    expectOutcome("silent", "interaction=none", client -> client);
    expectOutcome("Platform.DecodingError 1", "interaction=body:{}", client -> client);
    // For the same application: the account before does not linger.
    expectOutcome("com.pellix.providers 401", none, client -> client.token("another"));
    expectOutcome("com.quorvel.core 3", none, client -> client.token(() -> null));
    expectOutcome("com.quorvel.core 15", none, client -> client.maxResponseBytes(1000));

    Service service = new Service();
    PellixClient ready = service.client().open();
    ready.prepare();
    ready.close();
    assertThrows(IllegalStateException.class, ready::prepare);
    assertTrue(service.record().contains("\"settings\":1"));
    try (PellixClient client = service.client().open()) {
      client.ask(question).join();
      service.close();
      assertEquals("com.quorvel.core " + CoreError.CANNOT_CONNECT, outcome(client.ask(question)));
    }
    try (PellixClient client = PellixClient.builder(service.url).open()) {
      BlockingQueue<String> lines = new LinkedBlockingQueue<>();
      Handler handler = new Handler() {
        @Override
        public void publish(LogRecord line) {
          lines.add(line.getLevel() + " " + line.getMessage());
          throw new IllegalStateException("of a logger");
        }

        @Override
        public void flush() {}

        @Override
        public void close() {}
      };
      logger.addHandler(handler);
      // There are no settings.
      assertEquals("QV_Pellix_Disabled 1006 for com.quorvel.core 8", outcome(client.ask(question)));
      logger.removeHandler(handler);
      assertTrue(lines.take().startsWith("WARNING "));
      assertEquals("of a logger", uncaught.take().getMessage());
      uncaught.clear();
    }
  }

  @Test
  public void callsBack() throws Exception {
    ExecutorService pool = Executors.newFixedThreadPool(2);
    try (Service service = new Service();
        PellixClient client = service.client().token(() -> "a-token").executor(pool).open()) {
      CompletableFuture<String> result = new CompletableFuture<>();
      client.ask(question, pool, (answer, error) -> {
        client.reject(answer.deflection().deflectionID(), 1, "\u00e9", RejectionReason.REASON_0,
            Runnable::run, (response, refusal) -> result.complete(refusal.domain()));
        throw new IllegalStateException("of a callback");
      });
      assertEquals("com.pellix.providers", result.join());
      assertEquals("of a callback", uncaught.take().getMessage());
    }
    pool.shutdown();
    // As one does that is shut down: drops what it has taken, then takes no more. What comes then,
    // comes where the library has it.
    CompletableFuture<Runnable> dropped = new CompletableFuture<>();
    Executor gone = task -> {
      if (!dropped.complete(task)) throw new IllegalStateException("gone");
    };
    try (Service service = new Service(); PellixClient client = service.client().executor(gone).open()) {
      CompletableFuture<DeflectionResponse> first = client.ask(question);
      dropped.join();
      CompletableFuture<PellixException> second = new CompletableFuture<>();
      client.ask(question, gone, (answer, error) -> {
        client.close(); // does not wait for itself
        second.complete(error);
      });
      assertEquals(null, second.join());
      assertTrue(first.join().deflectionArticles().size() > 1);
    }
    try (Service service = new Service();
        PellixClient client = service.client().token(ClientTest::fail).open()) {
      assertEquals("com.quorvel.core 3", outcome(client.ask(question)));
      assertEquals("of a supplier", uncaught.take().getMessage());
    }
    // One that drops everything, and says nothing.
    try (Service service = new Service("interaction=delay:3600000");
        PellixClient client = service.client().executor(task -> {}).open()) {
      CompletableFuture<PellixDispatcherResponse> answered = client.resolve(1, 1, "");
      CompletableFuture<DeflectionResponse> left = client.ask(question);
      client.close(Duration.ofMillis(1));
      assertTrue(answered.isDone() && left.isDone());
      assertEquals("silent", outcome(left));
    }
    // Closed within a callback, and while a question is under way.
    try (Service service = new Service("interaction=delay:3600000");
        PellixClient client = service.client().open()) {
      CompletableFuture<DeflectionResponse> asked = client.ask(question);
      client.resolve(1, 1, "").handle((answer, error) -> {
        client.close(Duration.ZERO);
        return null;
      }).join();
      assertEquals("silent", outcome(asked));
    }
  }

  private static String fail() {
    throw new IllegalStateException("of a supplier");
  }

  @Test
  public void refusesBadInput() throws Exception {
    String half = "Password \ud83d?";
    assertThrows(NullPointerException.class, () -> PellixClient.builder(null));
    assertThrows(IllegalArgumentException.class, () -> PellixClient.builder(half));
    PellixClient.Builder insecure = PellixClient.builder("http://example.org");
    assertThrows(PellixException.class, insecure::open);
    assertThrows(IllegalArgumentException.class,
        () -> insecure.connectTimeout(Duration.ofMillis(-1)));
    PellixClient closed;
    try (Service service = new Service(); PellixClient client = service.client().open()) {
      closed = client;
      assertThrows(IllegalStateException.class, service.client()::open);
      assertThrows(NullPointerException.class, () -> client.ask(null));
      assertThrows(IllegalArgumentException.class, () -> client.ask(half));
      assertThrows(NullPointerException.class, () -> client.reject(1, 1, "", null));
      assertThrows(IllegalArgumentException.class, () -> client.resolve(1, 1, half));
      client.ask("\ud83d\ude00\0").join(); // whole characters, and NUL, are fine
      assertTrue(service.record().contains("enquiry\":\"\ud83d\ude00\\u0000"));
      assertTrue(service.record().contains("interaction\":1"));
    }
    closed.close();
    assertThrows(IllegalStateException.class, () -> closed.ask(question));
  }

  /** Threads ask and let go of what they get while clients are closed and opened anew. */
  @Test
  public void bearsThreadsClosingAndCollection() throws Exception {
    String times = System.getenv("PELLIX_STRESS");
    List<WeakReference<?>> given = Collections.synchronizedList(new ArrayList<>());
    // Errors of the second come on the library's own thread.
    try (Service enabled = new Service();
        Service disabled = new Service("settings=disabled")) {
      for (int round = 0; round < 10 * (times == null ? 1 : Integer.parseInt(times)); ++round) {
        PellixClient client = (round % 3 == 0 ? disabled : enabled).client()
            .settingsTimeToLive(Duration.ZERO).open();
        CountDownLatch ends = new CountDownLatch(100);
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < 4; ++i) {
          threads.add(new Thread(() -> askUntilClosed(client, ends, given)));
          threads.get(i).start();
        }
        ends.await();
        client.close(Duration.ofMillis(round % 2)); // some may still get an answer
        for (Thread thread : threads) thread.join(); // no future is left alone
        System.gc();
      }
    }
    // Neither the library nor Java holds anything that is over.
    Instant end = Instant.now().plus(Duration.ofMinutes(1));
    while (Library.liveReferences() > 0 || given.stream().anyMatch(each -> each.get() != null)) {
      if (Instant.now().isAfter(end)) throw new AssertionError(Library.liveReferences() + " left");
      System.gc();
    }
  }

  private static void askUntilClosed(
      PellixClient client, CountDownLatch ends, List<WeakReference<?>> given) {
    Deque<CompletableFuture<?>> underWay = new ArrayDeque<>();
    try {
      while (true) {
        underWay.add(client.ask(question).handle((answer, error) -> {
          given.add(new WeakReference<>(answer == null ? error : answer));
          ends.countDown();
          return answer == null ? 0 : answer.deflectionArticles().get(0).title().length();
        }));
        if (underWay.size() > 50) underWay.remove().join();
      }
    } catch (IllegalStateException closed) {
      underWay.forEach(CompletableFuture::join);
    }
  }
}
