using System;
using System.Collections.Generic;
using System.Globalization;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Bx.Tests
{
    public sealed class Case
    {
        public readonly string Name;
        public readonly Action Run;

        public Case(string name, Action run)
        {
            Name = name;
            Run = run;
        }
    }

    // The core against bx-sim. A table of plain methods, so that they run without a test framework and without reflection.
    public static partial class Cases
    {
        public static readonly Case[] All =
        {
            new Case("travel", TravelsTheWholeRoad),
            new Case("decode", GivesStructsThatAreTheDocuments),
            new Case("refuse", TellsWhatHasFailed),
            new Case("cancel", EndsWhatBlocks),
            new Case("lose", KeepsTheRecordsOfALostLane),
            new Case("forget", FreesThePortsOfForgottenManagers),
            new Case("frame", AllocatesNothingInAFrame)
        };

        private const string Ring = "{\"RingTargetNumber\":3,\"HighestRing\":10,\"TargetName\":\"Größe\"}";
        private const string Mode = "{\"isInFieldMode\":true}";

        private static void TravelsTheWholeRoad()
        {
            using (var simulator = new Simulator("--rate 1000"))
            using (var manager = new Manager())
            {
                var port = simulator.Ports[0];
                Done(manager.AddAsync(port));
                Holds(Done(manager.ConnectAsync(port, true)).Contains(port));
                Holds(Done(manager.GetSettingsAsync(port)).Contains("\"SerialNumber\""));
                Done(manager.SetSessionAsync(port, Mode));
                Done(manager.SetSettingsAsync(port, "{\"Mounting\":\"LEFT\"}"));
                Done(manager.DisconnectAsync(port));
                Done(manager.AddAsync(port));
                Holds(Done(manager.ConnectAsync(port)).Contains("\"LEFT\""));
                Done(manager.UploadTargetAsync(port, "RING", Ring));
                Done(manager.ClearTargetsAsync(port));
                Holds(Done(manager.GetTargetsAsync(port)) == "[]");
                Holds(Done(manager.DownloadTargetAsync(port, "RING", 3)).Contains("Größe"));
                Done(manager.UseTargetAsync(port, "RING", 255));
                Done(manager.SetModeAsync(port, 4));
                Done(manager.StartTrainingAsync(port));
                Holds(manager.GetState(port).Flags == (DeviceFlags.Connected | DeviceFlags.Streaming));
                var taken = Take(manager, port, 200);
                Done(manager.StopAllTrainingAsync());
                taken += Take(manager, port, (int)manager.GetState(port).RecordsWaiting);
                Holds(manager.GetState(port).Records == (ulong)taken);
                var progress = new LastReport();
                Done(manager.DownloadSessionAsync(port, progress));
                Holds(progress.Last.PagesDone > 0 && progress.Last.PagesDone == progress.Last.PagesTotal);
                Holds(manager.GetState(port).RecordsWaiting > 0);
                Done(manager.ClearSessionAsync(port));
                Done(manager.DownloadSessionAsync(port));
                Holds(manager.GetState(port).RecordsWaiting == 0);
                Done(manager.DisconnectAsync(port));
                Fails(BxStatus.NoDevice, port, () => Done(manager.DisconnectAsync(port)));
            }
        }

        private static readonly Dictionary<string, Func<Record, double>> Members =
            new Dictionary<string, Func<Record, double>>
            {
                { "PositionX", r => r.PositionX }, { "PositionY", r => r.PositionY }, { "ResultX", r => r.ResultX },
                { "ResultY", r => r.ResultY }, { "Distance", r => r.Distance }, { "aimingTime", r => r.AimingTime },
                { "RingTargetNumber", r => r.RingTarget }, { "SilhouetteTargetNumber", r => r.SilhouetteTarget },
                { "FunctionMode", r => r.FunctionMode }, { "ShotNumber", r => r.ShotNumber }, { "Tilt", r => r.Tilt },
                { "Rotation", r => r.Rotation }, { "RotationInDegrees", r => r.RotationDegrees },
                { "TiltInDegrees", r => r.TiltDegrees }, { "Time", r => r.Time }, { "FSI", r => r.Fsi },
                { "LowSignal", r => Bit(r, RecordFlags.LowSignal) }, { "HighSignal", r => Bit(r, RecordFlags.HighSignal) },
                { "MeasureError", r => Bit(r, RecordFlags.MeasureError) },
                { "AngleError", r => Bit(r, RecordFlags.AngleError) }, { "FSIError", r => Bit(r, RecordFlags.FsiError) }
            };

        private static void GivesStructsThatAreTheDocuments()
        {
            var random = new Random(1);
            var lines = new StringBuilder();
            for (var i = 0; i < 300; ++i)
            {
                var bytes = new byte[28];
                random.NextBytes(bytes);
                lines.Append(i % 2 == 0 ? "CA6A" : "CA65").Append(BitConverter.ToString(bytes).Replace("-", "")).Append('\n');
            }
            using (var simulator = new Simulator("--rate 1000 --stream $F/stream", 1, lines.ToString()))
            using (var manager = new Manager())
            {
                var port = Stream(manager, simulator)[0];
                var records = new Record[7];
                var documents = new string[8];
                for (int taken = 0, count; taken < 300; taken += count)
                {
                    count = manager.TakeRecords(port, records, documents);
                    for (var i = 0; i < count; ++i)
                    {
                        Holds(records[i].Kind == ((taken + i) % 2 == 0 ? RecordKind.Shot : RecordKind.Measurement));
                        foreach (var member in Members)
                            Holds(Number(documents[i], member.Key) == member.Value(records[i]));
                    }
                }
            }
        }

        private static void TellsWhatHasFailed()
        {
            using (var simulator = new Simulator("", 2))
            using (var manager = new Manager())
            {
                string port = simulator.Ports[0], none = simulator.Folder + "/zürich";
                Fails(BxStatus.NoDevice, none, () => manager.GetState(none));
                Fails(BxStatus.Argument, "", () => Done(manager.AddAsync("")));
                Fails(BxStatus.Open, "/no/folder", () => Lifetime.SetTraceFile("/no/folder"));
                Fails(BxStatus.Json, null, () => Lifetime.Score("[]", 0, 0, Gauge.Edge));
                Throws<ArgumentNullException>(() => manager.GetState(null));
                Throws<ArgumentNullException>(() => Done(manager.ConnectAsync(null)));
                Throws<ArgumentException>(() => manager.GetState(port + "\0"));
                Throws<ArgumentException>(() => manager.GetState("\uD800"));
                Done(manager.AddAsync(port));
                Fails(BxStatus.Argument, port, () => Done(manager.AddAsync(port)));
                Done(manager.AddAsync(none));
                Fails(BxStatus.Json, port, () => Done(manager.SetSessionAsync(port, "[]")));
                var failure = Throws<BxException>(() => Done(manager.ConnectAllAsync(true)));
                Holds(failure.Status == BxStatus.Open && failure.Message == none + ": no such port");
                Holds(failure.Settings.Contains(port) && !failure.Settings.Contains(none));
                Done(manager.AddAsync(none));
                Holds(Throws<BxException>(() => Done(manager.ConnectAsync(none, true))).Reason == "no such port");
                Fails(BxStatus.Refused, port, () => Done(manager.DownloadTargetAsync(port, "SILHOUETTE", 9)));
                Holds(Lifetime.ListPorts().StartsWith("[") && Lifetime.Version >= 100);
                manager.Dispose();
                manager.Dispose();
                Throws<ObjectDisposedException>(() => manager.GetState(port));
            }
        }

        private static void EndsWhatBlocks()
        {
            using (var simulator = new Simulator("--latency 30"))
            {
                var port = simulator.Ports[0];
                var manager = new Manager();
                Done(manager.AddAsync(port));
                Done(manager.ConnectAsync(port, true));
                using (var source = new CancellationTokenSource())
                {
                    var under = manager.GetSettingsAsync(port, source.Token);
                    AwaitExchange(manager, port);
                    source.Cancel();
                    Holds(Throws<OperationCanceledException>(() => Done(under)).CancellationToken == source.Token);
                    Throws<OperationCanceledException>(() => Done(manager.StartTrainingAsync(port, source.Token)));
                }
                Done(manager.GetSettingsAsync(port));
                foreach (Action end in new Action[] { () => manager.Dispose(), Lifetime.Shutdown })
                {
                    var under = manager.GetSettingsAsync(port);
                    AwaitExchange(manager, port);
                    end();
                    Throws<OperationCanceledException>(() => Done(under));
                    Throws<ObjectDisposedException>(() => manager.GetState(port));
                    manager = new Manager();
                    Done(manager.AddAsync(port));
                    Done(manager.ConnectAsync(port, true));
                }
                manager.Dispose();
            }
        }

        private static void KeepsTheRecordsOfALostLane()
        {
            using (var simulator = new Simulator("--rate 1000 --fault to-host:stream:300:hangup"))
            using (var manager = new Manager())
            {
                var port = Stream(manager, simulator)[0];
                while (!manager.GetState(port).Has(DeviceFlags.Lost)) Thread.Yield();
                Holds(Take(manager, port, (int)manager.GetState(port).Records) > 200);
                var records = new Record[1];
                var failure = Fails(BxStatus.Link, port, () => manager.TakeRecords(port, records));
                Holds(failure.Reason.Contains("hung up"));
                Fails(BxStatus.NoDevice, port, () => manager.TakeRecords(port, records));
            }
        }

        // Their finalisers run on a thread of the runtime's, also while one of their calls is under way.
        private static void FreesThePortsOfForgottenManagers()
        {
            using (var simulator = new Simulator("--latency 20", 4))
            using (var manager = new Manager())
            {
                var forgetting = simulator.Ports.Select(port => new Thread(() => Forget(port))).ToList();
                forgetting.ForEach(thread => thread.Start());
                forgetting.ForEach(thread => thread.Join());
                do
                {
                    GC.Collect();
                    GC.WaitForPendingFinalizers();
                } while (!simulator.Ports.Any(port => IsFree(manager, port)));
            }
        }

        private static void Forget(string port)
        {
            var forgotten = new Manager();
            Done(forgotten.AddAsync(port));
            Done(forgotten.ConnectAsync(port, true));
            forgotten.GetSettingsAsync(port);
        }

        private static bool IsFree(Manager manager, string port)
        {
            Done(manager.AddAsync(port));
            try
            {
                return Done(manager.ConnectAsync(port, true)).Contains(port);
            }
            catch (BxException inUse)
            {
                Holds(inUse.Status == BxStatus.Open);
                return false;
            }
        }

        private static void AllocatesNothingInAFrame()
        {
            using (var simulator = new Simulator("--rate 100", 32))
            using (var manager = new Manager())
            {
                var ports = Stream(manager, simulator);
                var records = new Record[64];
                long allocated = 0, taken = 0;
                for (var frame = 0; frame < 120; ++frame)
                {
                    if (frame == 10) allocated = GC.GetAllocatedBytesForCurrentThread();
                    foreach (var port in ports)
                    {
                        Holds(manager.GetState(port).Has(DeviceFlags.Streaming));
                        taken += manager.TakeRecords(port, records);
                    }
                    Thread.Sleep(16);
                }
                Holds(GC.GetAllocatedBytesForCurrentThread() == allocated);
                Holds(taken > 32);
            }
        }
    }
}
