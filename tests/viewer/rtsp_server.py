#!/usr/bin/python3
"""Serves a Matroska file of H.264 as rtsp://127.0.0.1:PORT/room, once through for each client.

    rtsp_server.py FILE PORT    PORT 0: any; prints the port once it listens
"""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402

Gst.init(None)
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(
    f'( filesrc location="{sys.argv[1]}" ! matroskademux ! h264parse '
    "! rtph264pay name=pay0 pt=96 config-interval=1 )")
server = GstRtspServer.RTSPServer()
server.set_address("127.0.0.1")
server.set_service(sys.argv[2])
server.get_mount_points().add_factory("/room", factory)
if server.attach(None) == 0:
    sys.exit("cannot listen")
print(server.get_bound_port(), flush=True)
GLib.MainLoop().run()
