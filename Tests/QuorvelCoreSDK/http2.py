"""An HTTP/2 server on loopback that ends the second request of its first connection in its own way.

  http2.py WAY CERTIFICATE KEY

Prints its port. Answers /count with the number of other requests that it took, and ends.
"""
import collections
import contextlib
import itertools
import socket
import ssl
import struct
import sys
import threading

import h2.config
import h2.connection
import h2.errors
import h2.events

way, certificate, key = sys.argv[1:]
taken = collections.Counter()
ended = threading.Event()


def end_in_its_way(channel, connection, stream):
    """Returns whether the connection goes on."""
    codes = {"reset-stream-refused": h2.errors.ErrorCodes.REFUSED_STREAM,
             "reset-stream-failed": h2.errors.ErrorCodes.INTERNAL_ERROR}
    if way in codes:
        connection.reset_stream(stream, error_code=codes[way])
        return True
    if way == "reset-connection":
        channel.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    elif way.startswith("go-away"):
        connection.close_connection(last_stream_id=stream - 2 * (way == "go-away-before"))
        channel.sendall(connection.data_to_send())
    elif way == "say-farewell":
        channel.settimeout(1)
        channel.unwrap()  # raises, if the other side does not answer
    return False


def serve(channel, is_first):
    config = h2.config.H2Configuration(client_side=False, header_encoding="utf-8")
    connection = h2.connection.H2Connection(config)
    connection.initiate_connection()
    requests, paths = itertools.count(1), {}
    while True:
        channel.sendall(connection.data_to_send())
        if ended.is_set():
            return
        received = channel.recv(65536)
        if not received:
            return
        for event in connection.receive_data(received):
            if isinstance(event, h2.events.RequestReceived):
                paths[event.stream_id] = dict(event.headers)[":path"]
            if not isinstance(event, h2.events.StreamEnded):
                continue
            stream, text = event.stream_id, str(taken.total())
            if paths[stream] == "/count":
                ended.set()
            elif next(requests) == 2 and is_first:
                taken[0] += way not in ("reset-stream-refused", "go-away-before")
                if not end_in_its_way(channel, connection, stream):
                    return
                continue
            else:
                taken[0] += 1
            connection.send_headers(stream, [(":status", "200")])
            connection.send_data(stream, text.encode(), end_stream=True)


def accept():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    context.set_alpn_protocols(["h2"])
    with socket.create_server(("127.0.0.1", 0)) as listener:
        print(listener.getsockname()[1], flush=True)
        for number in itertools.count():
            channel = context.wrap_socket(listener.accept()[0], server_side=True)
            threading.Thread(target=serve_and_close, args=(channel, number == 0),
                             daemon=True).start()


def serve_and_close(channel, is_first):
    with contextlib.suppress(OSError), channel:
        serve(channel, is_first)
    if ended.is_set():
        finished.set()


finished = threading.Event()
threading.Thread(target=accept, daemon=True).start()
finished.wait(60)
