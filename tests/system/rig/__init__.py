# SPDX-License-Identifier: MIT
"""Shared helpers of the system test's cases.  Runs inside the guest."""
