package com.pellix;

import java.nio.file.Path;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.logging.Level;
import java.util.logging.Logger;

/** Java ends in a way, with nothing under way or with questions that are asked again and again. */
final class Ends {
  private static final Logger logger = Logger.getLogger("com.pellix");

  public static void main(String[] arguments) throws Exception {
    logger.setLevel(Level.OFF);
    PellixClient client = PellixClient.builder(arguments[2])
        .certificateAuthorities(Path.of(arguments[3])).open();
    boolean isBusy = arguments[0].equals("busy");
    CountDownLatch replies = new CountDownLatch(isBusy ? 300 : 0);
    for (int i = 0; i < 100 && isBusy; ++i) ask(client, replies);
    replies.await();
    String way = arguments[1];
    if (way.equals("fall")) return;
    if (way.equals("throws")) throw new IllegalStateException("end");
    if (way.equals("exit")) System.exit(7);
    if (way.equals("callback")) client.ask("How?").whenComplete((answer, error) -> System.exit(7));
    long process = ProcessHandle.current().pid();
    if (way.equals("signal")) new ProcessBuilder("/bin/sh", "-c", "kill " + process).start();
    new CompletableFuture<>().join();
  }

  private static void ask(PellixClient client, CountDownLatch replies) {
    client.ask("How?").whenComplete((answer, error) -> {
      replies.countDown();
      ask(client, replies);
    });
  }
}
