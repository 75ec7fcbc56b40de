package com.pellix;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.util.ArrayList;
import java.util.List;

/** The demonstration service, in a process of its own. */
final class Service implements AutoCloseable {
  final String url;
  private final Process process;

  Service(String... misbehaviours) throws IOException {
    List<String> command = new ArrayList<>(
        List.of(System.getenv("PELLIX_ANSWER_SERVICE"), "--quiet", "--token", "a-token"));
    for (String each : misbehaviours) command.addAll(List.of("--misbehave", each));
    process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
    String line = new BufferedReader(new InputStreamReader(process.getInputStream())).readLine();
    url = line.substring(line.lastIndexOf(' ') + 1);
  }

  PellixClient.Builder client() {
    return PellixClient.builder(url).token("a-token");
  }

  /** What it was asked and told, without blanks. */
  String record() throws IOException, InterruptedException {
    return HttpClient.newHttpClient()
        .send(HttpRequest.newBuilder(URI.create(url + "/demo/record")).build(),
            HttpResponse.BodyHandlers.ofString())
        .body().replaceAll("\\s", "");
  }

  @Override
  public void close() {
    process.destroy();
    process.onExit().join();
  }
}
