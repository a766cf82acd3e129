using System;
using System.Globalization;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;

namespace Bx.Tests
{
    public static partial class Cases
    {
        private sealed class LastReport : IProgress<DeviceState>
        {
            public DeviceState Last;

            public void Report(DeviceState state)
            {
                Last = state;
            }
        }

        private static void Holds(bool condition, [CallerLineNumber] int line = 0)
        {
            if (!condition) throw new Exception("what line " + line + " wants does not hold");
        }

        private static T Throws<T>(Action action, [CallerLineNumber] int line = 0) where T : Exception
        {
            try
            {
                action();
            }
            catch (T expected)
            {
                return expected;
            }
            throw new Exception("line " + line + " throws nothing");
        }

        private static BxException Fails(BxStatus status, string port, Action action, [CallerLineNumber] int line = 0)
        {
            var failure = Throws<BxException>(action, line);
            if (failure.Status == status && failure.Port == port) return failure;
            throw new Exception("line " + line + " fails with " + failure.Status + " of " + failure.Port, failure);
        }

        private static void Done(Task task)
        {
            task.GetAwaiter().GetResult();
        }

        private static string Done(Task<string> task)
        {
            return task.GetAwaiter().GetResult();
        }

        // Takes so many records, or a few more.
        private static int Take(Manager manager, string port, int wanted)
        {
            var records = new Record[50];
            var taken = 0;
            while (taken < wanted) taken += manager.TakeRecords(port, records);
            return taken;
        }

        // All lanes at once; each has sent a record when it returns.
        private static string[] Stream(Manager manager, Simulator simulator)
        {
            Task.WaitAll(simulator.Ports.Select(port => manager.AddAsync(port)).ToArray());
            Done(manager.ConnectAllAsync(true));
            Task.WaitAll(simulator.Ports.Select(port => manager.SetSessionAsync(port, Mode)).ToArray());
            Task.WaitAll(simulator.Ports.Select(port => manager.StartTrainingAsync(port)).ToArray());
            foreach (var port in simulator.Ports)
                while (manager.GetState(port).Records == 0) Thread.Yield();
            return simulator.Ports;
        }

        private static void AwaitExchange(Manager manager, string port)
        {
            var sent = manager.GetState(port).FramesSent;
            while (manager.GetState(port).FramesSent == sent) Thread.Yield();
        }

        private static double Bit(Record record, RecordFlags flag)
        {
            return (record.Flags & flag) != 0 ? 1 : 0;
        }

        // A member of a flat document; 0 when it has none of this name.
        private static double Number(string document, string key)
        {
            var at = document.IndexOf("\"" + key + "\":", StringComparison.Ordinal);
            if (at < 0) return 0;
            at += key.Length + 3;
            var text = document.Substring(at, document.IndexOfAny(new[] { ',', '}' }, at) - at);
            return double.Parse(text, CultureInfo.InvariantCulture);
        }
    }
}
