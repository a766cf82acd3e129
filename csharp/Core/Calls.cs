using System;
using System.Threading;
using System.Threading.Tasks;

namespace Bx {
    /// <summary>
    /// Runs calls that block, each on a thread of its own: the pool's threads are few, and 32 lanes may wait for
    /// seconds.
    /// </summary>
    internal static class Calls {
        private const int ReportMilliseconds = 100;
        private static readonly object Gate = new object();
        private static int running;

        /// <summary>Gives a status, and the text that the call has given, if it does.</summary>
        internal delegate int Body(IntPtr cancel, out IntPtr json);

        internal static Task<string> Run(string port, CancellationToken token, Body body) {
            var result = new TaskCompletionSource<string>(TaskCreationOptions.RunContinuationsAsynchronously);
            var thread = new Thread(() => {
                Complete(result, port, token, body);
                lock (Gate) {
                    --running;
                    Monitor.PulseAll(Gate);
                }
            });
            thread.IsBackground = true;
            thread.Name = "BX " + port;
            lock (Gate) {
                // Mono aborts when a thread is begun while its domain ends.
                if (Lifetime.IsUnloading) throw new AppDomainUnloadedException();
                thread.Start();
                ++running;
            }
            return result.Task;
        }

        internal static Task Run(string port, CancellationToken token, Func<IntPtr, int> body) {
            return Run(port, token, (IntPtr cancel, out IntPtr json) => {
                json = IntPtr.Zero;
                return body(cancel);
            });
        }

        /// <summary>
        /// The same, and reports again and again meanwhile, never twice at once; the last time when it is done.
        /// </summary>
        internal static Body Reporting(Action report, Body body) {
            return (IntPtr cancel, out IntPtr json) => {
                var gate = new object();
                var ended = false;
                Exception failure = null;
                TimerCallback tick = _ => {
                    if (!Monitor.TryEnter(gate)) return;
                    try {
                        if (!ended) report();
                    } catch (Exception thrown) {
                        failure = thrown; // nobody would catch it on this thread
                    } finally {
                        Monitor.Exit(gate);
                    }
                };
                int status;
                try {
                    using (new Timer(tick, null, ReportMilliseconds, ReportMilliseconds))
                        status = body(cancel, out json);
                } finally {
                    lock (gate) ended = true; // not every runtime's timer waits for what it runs
                }
                if (status < 0) return status;
                report();
                if (failure != null) throw failure;
                return status;
            };
        }

        /// <summary>
        /// Waits until the threads of calls that do not block any more have ended. A runtime may not survive one that
        /// compiles a method while its domain is unloaded.
        /// </summary>
        internal static void AwaitEnd(int milliseconds) {
            lock (Gate) {
                while (running > 0 && Monitor.Wait(Gate, milliseconds)) {
                }
            }
        }

        private static void Complete(TaskCompletionSource<string> result, string port, CancellationToken token,
                                     Body body) {
            try {
                result.TrySetResult(Call(port, token, body));
            } catch (Exception) when (Lifetime.IsUnloading) {
                // nobody learns it any more
            } catch (OperationCanceledException) {
                result.TrySetCanceled(token);
            } catch (Exception failure) {
                result.TrySetException(failure);
            }
        }

        private static string Call(string port, CancellationToken token, Body body) {
            if (!token.CanBeCanceled) return Call(port, IntPtr.Zero, body);
            token.ThrowIfCancellationRequested();
            IntPtr cancel;
            Native.Check(Native.bx_cancel_create(out cancel), port);
            try {
                using (token.Register(() => Native.bx_cancel_signal(cancel))) return Call(port, cancel, body);
            } finally {
                Native.bx_cancel_destroy(cancel);
            }
        }

        private static string Call(string port, IntPtr cancel, Body body) {
            IntPtr json;
            var status = body(cancel, out json);
            // The reason is the thread's last failure: to take the text is none.
            var text = Native.Take(json);
            Native.Check(status, port, text);
            return text;
        }
    }
}
