#pragma once

/// Runs when the library is loaded into a process: starts Windows Sockets, and reads the drives of
/// dynamic views once.
///
/// Returns false, with a line on standard error, if the sockets don't start; the load then fails.
/// Drives that can't be read cause a complaint on standard error too, but don't fail the load: view
/// drives that were read before the failure stay, and there is no MVFS drive.
[[nodiscard]] bool attachLibrary();

/// Runs when the library is unloaded from the process: releases Windows Sockets.
void detachLibrary();
