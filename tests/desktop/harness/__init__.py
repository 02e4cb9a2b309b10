"""Drives the real program on a virtual desktop: keys, speech, windows and what stands in them afterwards."""
