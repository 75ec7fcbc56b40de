import java.util.concurrent.CountDownLatch;

/** Ends in the way that its second argument names, while the worker thread calls it. */
final class Ends {
  private static final CountDownLatch replies = new CountDownLatch(1000);

  static native void begin(String url, String certificates);
  static native void terminate();

  static void reply() {
    replies.countDown();
  }

  public static void main(String[] arguments) throws InterruptedException {
    System.load(arguments[0]);
    String way = arguments[1];
    begin(arguments[2], arguments[3]);
    replies.await();
    if (way.equals("signal")) terminate();
    else System.exit(7);
  }
}
