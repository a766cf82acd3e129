using System;
using System.Runtime.InteropServices;

namespace Bx {
    /// <summary>What a record is.</summary>
    public enum RecordKind {
        /// <summary>Neither of the others; all members are 0.</summary>
        Other = 0,
        /// <summary>A shot.</summary>
        Shot = 1,
        /// <summary>A sample of where the weapon points, between the shots.</summary>
        Measurement = 2
    }

    /// <summary>What the device says of a record.</summary>
    [Flags]
    public enum RecordFlags : uint {
        /// <summary>Nothing.</summary>
        None = 0,
        /// <summary>The signal was low.</summary>
        LowSignal = 1,
        /// <summary>The signal was high.</summary>
        HighSignal = 2,
        /// <summary>The measurement failed.</summary>
        MeasureError = 16,
        /// <summary>The angle is in error.</summary>
        AngleError = 32,
        /// <summary>The FSI is in error.</summary>
        FsiError = 64,
        /// <summary><see cref="Record.AimingTime"/> is known.</summary>
        HasAimingTime = 65536
    }

    /// <summary>
    /// A shot or a measurement, 104 bytes; what a kind does not have is 0. Positions are millimetres from the centre of
    /// the target, right and up positive.
    /// </summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct Record {
        /// <summary>Where it lies, mm to the right.</summary>
        public double PositionX;
        /// <summary>Where it lies, mm up.</summary>
        public double PositionY;
        /// <summary>Of a shot: as <see cref="PositionX"/>.</summary>
        public double ResultX;
        /// <summary>Of a shot: as <see cref="PositionY"/>.</summary>
        public double ResultY;
        /// <summary>To the target, m; whole in a measurement.</summary>
        public double Distance;
        /// <summary>Of a shot with <see cref="RecordFlags.HasAimingTime"/>: seconds since the shot before.</summary>
        public double AimingTime;
        /// <summary>What the record is.</summary>
        public RecordKind Kind;
        /// <summary>Of a shot: the number of the ring target; 255 for none.</summary>
        public int RingTarget;
        /// <summary>Of a shot: the number of the silhouette target; 255 for none.</summary>
        public int SilhouetteTarget;
        /// <summary>Of a shot: the device's mode.</summary>
        public int FunctionMode;
        /// <summary>Of a shot: 0 to 255, then 0 again.</summary>
        public int ShotNumber;
        /// <summary>Sine times 1000.</summary>
        public int Tilt;
        /// <summary>Sine times 1000.</summary>
        public int Rotation;
        /// <summary>Whole degrees.</summary>
        public int RotationDegrees;
        /// <summary>Whole degrees.</summary>
        public int TiltDegrees;
        /// <summary>Of a shot: 0 to 16777215, in device units.</summary>
        public int Time;
        /// <summary>Of a shot, in device units.</summary>
        public int Fsi;
        /// <summary>What the device says of it.</summary>
        public RecordFlags Flags;

        internal uint JsonOffset;
        internal uint JsonLength;
    }

    /// <summary>What a device is doing.</summary>
    [Flags]
    public enum DeviceFlags : uint {
        /// <summary>Nothing: it is not connected.</summary>
        None = 0,
        /// <summary>It is connected.</summary>
        Connected = 1,
        /// <summary>It streams.</summary>
        Streaming = 2,
        /// <summary>Its stored session is being fetched.</summary>
        Downloading = 4,
        /// <summary>The stream, or something since it was started or since the device was added, has failed.</summary>
        Error = 8,
        /// <summary>
        /// The port was hung up during a stream; the device is registered no longer, its records wait.
        /// </summary>
        Lost = 16
    }

    /// <summary>A device, as it is now, 72 bytes. What is counted, is counted since its port was last opened.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct DeviceState {
        /// <summary>Frames sent.</summary>
        public ulong FramesSent;
        /// <summary>Frames sent again.</summary>
        public ulong FramesResent;
        /// <summary>Frames received.</summary>
        public ulong FramesReceived;
        /// <summary>Frames received damaged, and dropped.</summary>
        public ulong FramesDamaged;
        /// <summary>Answers that came after their request was given up, and were dropped.</summary>
        public ulong AnswersLate;
        /// <summary>Records that have come.</summary>
        public ulong Records;
        /// <summary>Payloads that came while nobody listened, or beyond what may wait.</summary>
        public ulong RecordsDropped;
        /// <summary>What it is doing.</summary>
        public DeviceFlags Flags;
        /// <summary>Records that wait to be taken.</summary>
        public uint RecordsWaiting;
        /// <summary>Pages of the download that runs, or of the last one: done.</summary>
        public uint PagesDone;
        /// <summary>Pages of the download that runs, or of the last one: in all.</summary>
        public uint PagesTotal;

        /// <summary>Whether any of these flags is set.</summary>
        public bool Has(DeviceFlags any) {
            return (Flags & any) != 0;
        }
    }

    /// <summary>What of a hit must reach a ring's line.</summary>
    public enum Gauge {
        /// <summary>The edge of its hole, at the target's calibre.</summary>
        Edge = 0,
        /// <summary>Its centre.</summary>
        Centre = 1
    }

    /// <summary>What a hit is worth.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct HitValue {
        /// <summary>1; 0 on a target without rings: then <see cref="Ring"/>, Tenths and Inner are 0.</summary>
        public int Scored;
        /// <summary>The whole value; 0 for none.</summary>
        public int Ring;
        /// <summary>The value with its tenth, in tenths: 93 is 9.3.</summary>
        public int Tenths;
        /// <summary>1 for an inner ten.</summary>
        public int Inner;
        /// <summary>Of a silhouette, 0 to 3.</summary>
        public int PixelClass;
    }
}
