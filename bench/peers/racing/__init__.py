# SPDX-License-Identifier: MIT
"""The race of webcam viewers."""
