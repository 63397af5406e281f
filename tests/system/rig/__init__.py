# SPDX-License-Identifier: MIT
"""What the cases of the system test stand on.  Runs inside the guest."""
