using System;
using System.Collections.Generic;
using System.Linq;
using System.Text;
using System.Threading;
using Bx.Unity;
using static Bx.Tests.Checks;

namespace Bx.Tests {
    // The cases: plain methods in a table, so that they run without a test framework and without reflection.
    public static class Cases {
        public static readonly Dictionary<string, Action> All = new Dictionary<string, Action> {
            { "travel", TravelsTheWholeRoad }, { "decode", GivesStructsThatAreTheDocuments },
            { "refuse", TellsWhatHasFailed }, { "cancel", EndsWhatBlocks }, { "lose", KeepsTheRecordsOfALostLane },
            { "forget", FreesThePortsOfForgottenManagers }, { "frame", AllocatesNothingInAFrame },
            { "lane", TellsALanesEventsInUpdate }, { "again", WaitsForALanesEnd }
        };

        private static void TravelsTheWholeRoad() {
            using (var range = new Range("--rate 1000"))
            using (var manager = new Manager()) {
                var port = range.Port;
                manager.AddAsync(port).Now();
                Holds(manager.ConnectAsync(port, true).Now().Contains(port));
                Holds(manager.GetSettingsAsync(port).Now().Contains("\"SerialNumber\""));
                manager.SetSettingsAsync(port, "{\"Mounting\":\"LEFT\"}").Now();
                manager.DisconnectAsync(port).Now();
                manager.AddAsync(port).Now();
                Holds(manager.ConnectAsync(port).Now().Contains("\"LEFT\""));
                manager.UploadTargetAsync(port, "RING", "{\"RingTargetNumber\":3,\"TargetName\":\"Größe\"}").Now();
                manager.ClearTargetsAsync(port).Now();
                Holds(manager.GetTargetsAsync(port).Now() == "[]");
                Holds(manager.DownloadTargetAsync(port, "RING", 3).Now().Contains("Größe"));
                manager.UseTargetAsync(port, "RING", 255).Now();
                manager.SetModeAsync(port, 4).Now();
                manager.StartTrainingAsync(port).Now();
                Holds(manager.GetState(port).Flags == (DeviceFlags.Connected | DeviceFlags.Streaming));
                var taken = Take(manager, port, 200);
                manager.StopAllTrainingAsync().Now();
                taken += Take(manager, port, (int)manager.GetState(port).RecordsWaiting);
                Holds(manager.GetState(port).Records == (ulong)taken);
                var last = default(DeviceState);
                manager.DownloadSessionAsync(port, new Report { Tell = state => last = state }).Now();
                Holds(last.PagesDone > 0 && last.PagesDone == last.PagesTotal);
                Holds(manager.GetState(port).RecordsWaiting > 0);
                manager.ClearSessionAsync(port).Now();
                manager.DownloadSessionAsync(port).Now();
                Holds(manager.GetState(port).RecordsWaiting == 0);
                manager.DisconnectAllAsync().Now();
                Fails(BxStatus.NoDevice, port, () => manager.DisconnectAsync(port).Now());
            }
        }

        private static readonly Dictionary<string, Func<Record, double>> Members =
            new Dictionary<string, Func<Record, double>> {
                { "PositionX", r => r.PositionX }, { "PositionY", r => r.PositionY }, { "ResultX", r => r.ResultX },
                { "ResultY", r => r.ResultY }, { "Distance", r => r.Distance }, { "aimingTime", r => r.AimingTime },
                { "RingTargetNumber", r => r.RingTarget }, { "SilhouetteTargetNumber", r => r.SilhouetteTarget },
                { "FunctionMode", r => r.FunctionMode }, { "ShotNumber", r => r.ShotNumber }, { "Tilt", r => r.Tilt },
                { "Rotation", r => r.Rotation }, { "RotationInDegrees", r => r.RotationDegrees }, { "FSI", r => r.Fsi },
                { "TiltInDegrees", r => r.TiltDegrees }, { "Time", r => r.Time },
                { "LowSignal", r => (uint)(r.Flags & RecordFlags.LowSignal) },
                { "FSIError", r => (uint)(r.Flags & RecordFlags.FsiError) / 64 }
            };

        private static void GivesStructsThatAreTheDocuments() {
            var random = new Random(1);
            var bytes = new byte[28];
            var lines = new StringBuilder();
            for (var i = 0; i < 300; ++i) {
                random.NextBytes(bytes);
                lines.AppendLine((i % 2 == 0 ? "CA6A" : "CA65") + BitConverter.ToString(bytes).Replace("-", ""));
            }
            using (var range = new Range("--rate 1000 --stream $F/stream", 1, lines.ToString()))
            using (var manager = range.Stream()) {
                var records = new Record[7];
                var documents = new string[8];
                for (int taken = 0, count; taken < 300; taken += count) {
                    count = manager.TakeRecords(range.Port, records, documents);
                    for (var i = 0; i < count; ++i) {
                        Holds(records[i].Kind == ((taken + i) % 2 == 0 ? RecordKind.Shot : RecordKind.Measurement));
                        foreach (var member in Members)
                            Holds(Number(documents[i], member.Key) == member.Value(records[i]));
                    }
                }
            }
        }

        private static void TellsWhatHasFailed() {
            using (var range = new Range("", 2))
            using (var manager = new Manager()) {
                string port = range.Port, none = range.Folder + "/zürich";
                Fails(BxStatus.NoDevice, none, () => manager.GetState(none));
                Fails(BxStatus.Argument, "", () => manager.AddAsync("").Now());
                Fails(BxStatus.Open, "/no/folder", () => Lifetime.SetTraceFile("/no/folder"));
                Fails(BxStatus.Json, null, () => Lifetime.Score("[]", 0, 0, Gauge.Edge));
                Throws<ArgumentNullException>(() => manager.ConnectAsync(null).Now());
                Throws<ArgumentNullException>(() => manager.TakeRecords(port, new Record[1], null));
                Throws<ArgumentException>(() => manager.GetState(port + "\0"));
                Throws<ArgumentException>(() => manager.GetState("\uD800"));
                manager.AddAsync(port).Now();
                Fails(BxStatus.Argument, port, () => manager.AddAsync(port).Now());
                Fails(BxStatus.Json, port, () => manager.SetSessionAsync(port, "[]").Now());
                manager.AddAsync(none).Now();
                var failure = Fails(BxStatus.Open, null, () => manager.ConnectAllAsync(true).Now());
                Holds(failure.Settings.Contains(port) && !failure.Settings.Contains(none));
                Holds(failure.Message == none + ": no such port");
                manager.AddAsync(none).Now();
                Holds(Fails(BxStatus.Open, none, () => manager.ConnectAsync(none).Now()).Reason == "no such port");
                Fails(BxStatus.Refused, port, () => manager.DownloadTargetAsync(port, "SILHOUETTE", 9).Now());
                Holds(Lifetime.ListPorts().StartsWith("[") && Lifetime.Version >= 100);
                manager.Dispose();
                manager.Dispose();
                Throws<ObjectDisposedException>(() => manager.GetState(port));
            }
        }

        private static void EndsWhatBlocks() {
            using (var range = new Range("--latency 30"))
            using (var source = new CancellationTokenSource()) {
                var port = range.Port;
                var manager = range.Connect();
                var under = Begin(manager, port, source.Token);
                source.Cancel();
                Holds(Throws<OperationCanceledException>(() => under.Now()).CancellationToken == source.Token);
                Throws<OperationCanceledException>(() => manager.StartTrainingAsync(port, source.Token).Now());
                manager.GetSettingsAsync(port).Now();
                foreach (var end in new Action[] { () => manager.Dispose(), Lifetime.Shutdown }) {
                    under = Begin(manager, port, CancellationToken.None);
                    end();
                    Throws<OperationCanceledException>(() => under.Now());
                    Throws<ObjectDisposedException>(() => manager.GetState(port));
                    manager = range.Connect();
                }
                manager.Dispose();
            }
        }

        private static void KeepsTheRecordsOfALostLane() {
            using (var range = new Range("--rate 200 --fault to-host:stream:300:hangup"))
            using (var manager = range.Stream()) {
                var port = range.Port;
                Until(() => manager.GetState(port).Has(DeviceFlags.Lost));
                Holds(Take(manager, port, (int)manager.GetState(port).Records) > 200);
                var records = new Record[1];
                Holds(Fails(BxStatus.Link, port, () => manager.TakeRecords(port, records)).Reason.Contains("hung up"));
                Fails(BxStatus.NoDevice, port, () => manager.TakeRecords(port, records));
            }
        }

        // Their finalisers run on a thread of the runtime's, also while one of their calls is under way.
        private static void FreesThePortsOfForgottenManagers() {
            using (var range = new Range("--latency 20")) {
                var forgetting = new Thread(() => range.Connect().GetSettingsAsync(range.Port));
                forgetting.Start();
                forgetting.Join();
                Until(() => {
                    GC.Collect();
                    GC.WaitForPendingFinalizers();
                    return range.IsFree();
                });
            }
        }

        private static void AllocatesNothingInAFrame() {
            using (var range = new Range("--rate 100", 32))
            using (var manager = range.Stream()) {
                var records = new Record[64];
                long allocated = 0, taken = 0;
                for (var frame = 0; frame < 120; ++frame) {
                    if (frame == 10) allocated = GC.GetAllocatedBytesForCurrentThread();
                    foreach (var port in range.Ports) {
                        Holds(manager.GetState(port).Has(DeviceFlags.Streaming));
                        taken += manager.TakeRecords(port, records);
                    }
                    Thread.Sleep(16); // a frame
                }
                Holds(GC.GetAllocatedBytesForCurrentThread() == allocated);
                Holds(taken > 32 * 100);
            }
        }

        private static readonly string Rest = new string('0', 54);

        // A hang-up comes after its records, a handler that throws loses none, and a lane can be enabled anew at once.
        private static void TellsALanesEventsInUpdate() {
            var shots = string.Concat(Enumerable.Range(0, 256).Select(n => "CA6A" + n.ToString("X2") + Rest + "\n"));
            using (var range = new Range("--rate 500 --stream $F/stream --fault to-host:stream:250:hangup", 1, shots)) {
                var lane = new BxLane { Port = range.Port, RetrySeconds = 0 };
                int connected = 0, told = 0, skipped = 0;
                var reasons = "";
                lane.Connected += () => ++connected;
                lane.Shot += shot => {
                    skipped += shot.ShotNumber == told++ ? 0 : 1;
                    Holds(told % 50 > 0);
                };
                lane.Lost += why => reasons += why;
                lane.OnEnable();
                Update(lane, () => lane.Status == LaneStatus.Lost);
                Holds(reasons == "the port was hung up" && connected == 1 && told > 200 && skipped == 0);
                lane.OnDisable();
                lane.Port = range.Folder + "/none";
                lane.OnEnable();
                Update(lane, () => lane.Status == LaneStatus.Lost);
                Holds(lane.Reason == "no such port" && connected == 1);
            }
        }

        // A lane whose stream ends waits for the reason. One that is enabled anew waits for its
        // port: a device that does not hear that it is to stop holds that longer than adding it takes.
        private static void WaitsForALanesEnd() {
            var deaf = string.Concat(Enumerable.Range(4, 5).Select(n => " --fault to-device:mode:" + n + ":drop"));
            using (var range = new Range("--stream $F/stream" + deaf, 1, "CA6A00" + Rest + "\n59\n")) {
                var lane = new BxLane { Port = range.Port };
                for (var plays = 0; plays < 2; ++plays) {
                    lane.OnEnable();
                    Update(lane, () => lane.Status == LaneStatus.Streaming);
                    lane.OnDisable();
                }
                lane.OnEnable();
                Update(lane, () => lane.State.Flags == DeviceFlags.Connected);
                Holds(lane.Status == LaneStatus.Streaming);
                UnityEngine.Time.unscaledTime += 1;
                lane.Update();
                Holds(lane.Status == LaneStatus.Lost && lane.Reason == "the stream has ended");
            }
        }

        private static void Update(BxLane lane, Func<bool> until) {
            for (; !until(); Thread.Yield()) {
                if (lane.Status == LaneStatus.Lost) throw new Exception("the lane is lost: " + lane.Reason);
                try {
                    lane.Update();
                } catch (Exception ofHandler) when (ofHandler.Message.StartsWith("what line")) {
                }
            }
        }
    }
}
