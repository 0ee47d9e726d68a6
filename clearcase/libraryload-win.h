#pragma once

/// What the library does when it is loaded into a process: starts Windows Sockets and reads the
/// drives of dynamic views once. False, with a line on standard error, if the sockets don't start:
/// the load then fails. Drives that can't be read are complained of there and don't fail it: view
/// drives that were read by then stay, and there is no MVFS drive.
bool attachLibrary();

/// What it does when it leaves the process: releases Windows Sockets.
void detachLibrary();
