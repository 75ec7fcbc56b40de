package com.pellix;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.stream.Collectors;

/**
 * Java ends in each way, with nothing under way and with hundreds of questions, as often as
 * PELLIX_EXITS says: EndsTest SERVICE. In the processes that end: EndsTest WAY IS_BUSY ADDRESS.
 */
final class EndsTest {
  private static final String[] ways = {"return", "exit", "callback", "throw", "signal"};

  public static void main(String[] arguments) throws Exception {
    if (arguments.length == 3) {
      end(arguments[0], Boolean.parseBoolean(arguments[1]), arguments[2]);
      return;
    }
    String wanted = System.getenv("PELLIX_EXITS");
    int times = wanted == null ? 5 : Integer.parseInt(wanted);
    ExecutorService pool = Executors.newFixedThreadPool(2);
    List<Future<String>> failures = new ArrayList<>();
    try (Service service = new Service(arguments[0])) {
      for (int i = 0; i < times * ways.length; ++i) {
        String way = ways[i % ways.length];
        for (boolean isBusy : new boolean[] {false, true}) {
          failures.add(pool.submit(() -> failure(way, isBusy, service.url)));
        }
      }
      pool.shutdown();
      String all = "";
      for (Future<String> each : failures) all += each.get();
      System.out.println(failures.size() + " ends\n" + all);
      if (!all.isEmpty()) System.exit(1);
    }
  }

  /** What is wrong with one end; empty if nothing is. */
  private static String failure(String way, boolean isBusy, String url) throws Exception {
    List<String> command = new ArrayList<>(List.of(ProcessHandle.current().info().command().get()));
    command.addAll(ManagementFactory.getRuntimeMXBean().getInputArguments());
    command.addAll(List.of("-cp", System.getProperty("java.class.path"), EndsTest.class.getName(),
        way, Boolean.toString(isBusy), url));
    Process process = new ProcessBuilder(command).redirectErrorStream(true).start();
    BufferedReader reader = new BufferedReader(new InputStreamReader(process.getInputStream()));
    String first = reader.readLine();
    if (way.equals("signal")) process.toHandle().destroy();
    String output = first + reader.lines().collect(Collectors.joining("\n"));
    int code = process.waitFor();
    int expected = way.equals("return") ? 0 : way.equals("throw") ? 1 : way.equals("signal") ? 143 : 7;
    boolean isClean = way.equals("throw")
        ? output.startsWith("readyException in thread \"main\" java.lang.IllegalStateException: end")
            && !output.contains("WARNING")
        : output.equals("ready");
    return code == expected && isClean ? "" : way + " " + isBusy + " " + code + "\n" + output + "\n";
  }

  private static void end(String way, boolean isBusy, String url) throws Exception {
    PellixClient client = PellixClient.builder(url).token("a-token").open();
    CountDownLatch answers = new CountDownLatch(isBusy ? 200 : 0);
    for (int i = 0; i < 300 && isBusy; ++i) ask(client, answers);
    answers.await();
    System.out.println("ready");
    if (way.equals("return")) return;
    if (way.equals("throw")) throw new IllegalStateException("end");
    if (way.equals("exit")) System.exit(7);
    if (way.equals("callback")) client.ask("How?").thenRun(() -> System.exit(7));
    new CompletableFuture<>().join();
  }

  /** Again and again. */
  private static void ask(PellixClient client, CountDownLatch answers) {
    client.ask("How?").thenRun(() -> {
      answers.countDown();
      ask(client, answers);
    });
  }
}
