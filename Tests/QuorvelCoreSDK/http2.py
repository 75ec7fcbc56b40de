"""An HTTP/2 server on loopback that ends the 17th request, whose stream's number has two digits, in its own way, or
answers that too. The third, if what it answers is given.

  http2.py WAY[+WAY...] IDENTITY [ANSWER]

Prints its port, and says in each answer how many requests it has taken so far, or what stands in a file. If it
answers together, it prints a line for the first request of a connection and answers when there are forty. If it does
so, or answers each, but once on a connection, it prints of each whether its session is an earlier one's, as soon as
the other side has closed it too.
"""
import contextlib
import itertools
import pathlib
import select
import socket
import ssl
import struct
import sys

import h2.config
import h2.connection
import h2.errors
import h2.events
import h2.settings

ways, identity, *answers = sys.argv[1:]
ways = ways.split("+")
taken = 0
requests = itertools.count(1)


def end(channel):
    channel.shutdown(socket.SHUT_WR)
    with contextlib.suppress(OSError):
        while channel.recv(65536):
            pass


def end_in_its_way(way, channel, connection, stream):
    """Returns whether the connection goes on."""
    codes = {"reset-stream-refused": h2.errors.ErrorCodes.REFUSED_STREAM,
             "reset-stream-failed": h2.errors.ErrorCodes.INTERNAL_ERROR}
    if way in codes:
        connection.reset_stream(stream, error_code=codes[way])
        return True
    if way == "leave-unanswered":
        return True
    if way == "break-protocol":
        channel.sendall(bytes([0, 0, 1, 0, 0, 0, 0, 0, 0, 0]))  # data of no stream
        return True
    if way in ("reset-connection", "break-and-refuse-another"):
        channel.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        if way != "reset-connection":
            channel.close()
            listener.accept()[0].close()
    elif way.startswith("go-away"):
        connection.close_connection(last_stream_id=max(0, stream - 2 * (way == "go-away-before")))
        channel.sendall(connection.data_to_send())
        end(channel)  # else what is not read yet would have the system reset the connection
    elif way == "ask-for-another-version":
        connection.send_headers(stream, [(":status", "200"), ("content-length", "10")])
        connection.send_data(stream, b"not all")
        connection.ping(b"has come")
        channel.sendall(connection.data_to_send())
        channel.recv(65536)
        connection.reset_stream(stream, error_code=h2.errors.ErrorCodes.HTTP_1_1_REQUIRED)
        channel.sendall(connection.data_to_send())
        with context.wrap_socket(listener.accept()[0], server_side=True) as another:
            another.recv(65536)
            another.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nall")
            end(another)
    elif way == "fall-silent":  # until a request comes over another connection
        ways[0] = "answer-once"
        with context.wrap_socket(listener.accept()[0], server_side=True) as another:
            serve(another)
        connection.send_headers(stream, [(":status", "200")])
        connection.send_data(stream, b"held", end_stream=True)
        channel.sendall(connection.data_to_send())
        end(channel)
    elif way == "flood":
        print("waits", flush=True)
        sys.stdin.readline()
        for number in itertools.count():
            if number == 1:
                print("floods", flush=True)
            channel.sendall(bytes([0, 0, 0, 99, 0, 0, 0, 0, 0]) * 100_000)  # frames of no known type
    elif way == "say-farewell":
        channel.settimeout(1)
        channel.unwrap()  # raises, if the other side does not answer
    return False


def serve(channel):
    global taken
    connection = h2.connection.H2Connection(h2.config.H2Configuration(client_side=False))
    connection.initiate_connection()
    waiting = []
    while True:
        channel.sendall(connection.data_to_send())
        received = channel.recv(65536)
        if not received:
            return
        for event in connection.receive_data(received):
            if not isinstance(event, h2.events.StreamEnded):
                continue
            after = next(requests) - (3 if answers else 17)
            if after in range(len(ways)) and not ways[0].startswith("answer"):
                way = ways[after]
                taken += way not in ("reset-stream-refused", "go-away-before")
                if not end_in_its_way(way, channel, connection, event.stream_id):
                    return
                continue
            waiting.append(event.stream_id)
            if ways == ["answer-together"] and len(waiting) < 40:
                if len(waiting) == 1:
                    print("one", flush=True)
                continue
            while waiting:
                taken += 1
                stream = waiting.pop(0)
                connection.send_headers(stream, [(":status", "200")])
                connection.send_data(stream, answer or str(taken).encode(), end_stream=True)
            if ways[0] in ("answer-once", "answer-together"):
                channel.sendall(connection.data_to_send())
                session = "resumed" if channel.session_reused else "new"
                end(channel)
                print(session, flush=True)
                return


def serve_two(listener):
    """Takes one request at once on a connection, answers the second and the third together, and resets the one that
    the fourth comes over, having said on the other that it takes nothing more."""
    connections = {}
    waiting = []
    while True:
        for channel in select.select([listener, *connections], [], [])[0]:
            if channel is listener:
                channel = context.wrap_socket(listener.accept()[0], server_side=True)
                connection = connections[channel] = h2.connection.H2Connection(h2.config.H2Configuration(client_side=False))
                connection.initiate_connection()
                connection.update_settings({h2.settings.SettingCodes.MAX_CONCURRENT_STREAMS: 1})
                channel.sendall(connection.data_to_send())
                continue
            connection = connections[channel]
            for event in connection.receive_data(channel.recv(65536)):
                if not isinstance(event, h2.events.StreamEnded):
                    continue
                number = next(requests)
                waiting.append((channel, connection, event.stream_id))
                if number == 2:
                    continue
                if number == 4:
                    (other,) = connections.keys() - {channel}
                    connections[other].close_connection(last_stream_id=1)
                    other.sendall(connections[other].data_to_send())
                    channel.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                    channel.close()
                    end(other)
                    return
                for to, speaker, stream in waiting:
                    speaker.send_headers(stream, [(":status", "200")], end_stream=True)
                    to.sendall(speaker.data_to_send())
                waiting.clear()
            if channel.fileno() >= 0:
                channel.sendall(connection.data_to_send())


answer = pathlib.Path(answers[0]).read_bytes() if answers else None
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(identity)
context.set_alpn_protocols(["h2"])
with socket.create_server(("127.0.0.1", 0)) as listener:
    print(listener.getsockname()[1], flush=True)
    if ways == ["go-away-elsewhere"]:
        serve_two(listener)
        ways = ["answer"]
    while True:
        with contextlib.suppress(OSError):
            with context.wrap_socket(listener.accept()[0], server_side=True) as channel:
                serve(channel)
