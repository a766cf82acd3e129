using System;
using System.Globalization;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;

namespace Bx.Tests {
    internal sealed class Report : IProgress<DeviceState> {
        public Action<DeviceState> Tell;
        void IProgress<DeviceState>.Report(DeviceState state) => Tell(state);
    }

    internal static class Checks {
        internal static void Now(this Task task) => task.GetAwaiter().GetResult();
        internal static string Now(this Task<string> task) => task.GetAwaiter().GetResult();

        internal static void Until(Func<bool> condition) {
            while (!condition()) Thread.Yield();
        }

        internal static void Holds(bool condition, [CallerLineNumber] int line = 0) {
            if (!condition) throw new Exception("what line " + line + " wants does not hold");
        }

        internal static T Throws<T>(Action action, [CallerLineNumber] int line = 0) where T : Exception {
            try {
                action();
            } catch (T expected) {
                return expected;
            }
            throw new Exception("line " + line + " throws nothing");
        }

        internal static BxException Fails(BxStatus status, string port, Action action,
                                          [CallerLineNumber] int line = 0) {
            var failure = Throws<BxException>(action, line);
            if (failure.Status == status && failure.Port == port) return failure;
            throw new Exception("line " + line + " fails with " + failure.Status + " of " + failure.Port, failure);
        }

        // Takes so many records, or a few more.
        internal static int Take(Manager manager, string port, int wanted) {
            var records = new Record[50];
            var taken = 0;
            while (taken < wanted) taken += manager.TakeRecords(port, records);
            return taken;
        }

        // Begins a call, and returns when it has sent something.
        internal static Task<string> Begin(Manager manager, string port, CancellationToken token) {
            var sent = manager.GetState(port).FramesSent;
            var call = manager.GetSettingsAsync(port, token);
            Until(() => manager.GetState(port).FramesSent > sent);
            return call;
        }

        // A member of a flat document; 0 when it has none of this name.
        internal static double Number(string document, string key) {
            var at = document.IndexOf("\"" + key + "\":", StringComparison.Ordinal) + key.Length + 3;
            if (at < key.Length + 3) return 0;
            var text = document.Substring(at, document.IndexOfAny(new[] { ',', '}' }, at) - at);
            return double.Parse(text, CultureInfo.InvariantCulture);
        }
    }
}
