using System.Collections.Generic;
using UnityEngine;

namespace Bx.Unity.Samples {
    /// <summary>
    /// A target face with the hits and the aim trace of a lane, and the list of all lanes. Enter a port, press Add, and
    /// shoot. Drawn with the engine's immediate mode, so that it needs no other package.
    /// </summary>
    public sealed class FirstShot : MonoBehaviour {
        /// <summary>The lanes that are there from the beginning.</summary>
        public string[] Ports = new string[0];

        private const float PaperMillimetres = 550;
        private const int TraceLength = 150;
        private const string Pistol25 = "{\"TargetType\":\"RING\",\"RingTargetNumber\":1,\"TargetName\":\"25m pistol\"," +
            "\"NominalShootingDistanceUnit\":\"m\",\"NominalDistance\":25,\"CaliberUnit\":\"mm\",\"Caliber\":5.6," +
            "\"RingGapUnitType\":\"mm\",\"RingsGapsUnit\":\"Fixed\",\"HighestRing\":10,\"MinimumRing\":1," +
            "\"DiameterHighestRing\":50,\"HitRingGap\":25,\"DiameterX\":25,\"DiameterBlackArea\":200,\"HIBMinScore\":9," +
            "\"DiameterInnerWhite\":0,\"TargetWidth\":55,\"TargetHeight\":55,\"PrismPlaceX\":0,\"PrismPlaceY\":0," +
            "\"NumberOfPrisms\":1}";

        // A lane, and what was seen of it.
        private sealed class Seen {
            public BxLane Lane;
            public readonly List<Record> Shots = new List<Record>();
            public readonly Queue<Record> Trace = new Queue<Record>();
            public string Last = "";
        }

        private readonly List<Seen> lanes = new List<Seen>();
        private Seen shown;
        private string port = "/dev/ttyUSB0";
        private Texture2D face, dot;

        internal void Start() {
            face = Face(512);
            dot = Disc(16);
            foreach (var name in Ports) Add(name);
        }

        internal void OnGUI() {
            var side = Mathf.Min(Screen.height, Screen.width * 0.6f);
            DrawTarget(new Rect(0, 0, side, side));
            GUILayout.BeginArea(new Rect(side + 10, 10, Screen.width - side - 20, Screen.height - 20));
            port = GUILayout.TextField(port);
            if (GUILayout.Button("Add")) Add(port);
            foreach (var seen in lanes) {
                if (GUILayout.Button(seen.Lane.Port + ": " + StatusOf(seen))) shown = seen;
            }
            GUILayout.EndArea();
        }

        private void Add(string name) {
            var seen = new Seen { Lane = gameObject.AddComponent<BxLane>() };
            seen.Lane.Port = name;
            seen.Lane.RingTarget = Pistol25;
            seen.Lane.Shot += record => {
                var value = Lifetime.Score(Pistol25, record.PositionX, record.PositionY, Gauge.Edge);
                seen.Last = (value.Tenths / 10f).ToString("F1");
                seen.Shots.Add(record);
                seen.Trace.Clear();
            };
            seen.Lane.Measurement += record => {
                seen.Trace.Enqueue(record);
                if (seen.Trace.Count > TraceLength) seen.Trace.Dequeue();
            };
            seen.Lane.Lost += reason => Debug.LogWarning(name + ": " + reason);
            lanes.Add(seen);
            shown = seen;
        }

        private static string StatusOf(Seen seen) {
            if (seen.Lane.Status == LaneStatus.Lost) return "lost: " + seen.Lane.Reason + "; it is tried again";
            if (seen.Lane.Status != LaneStatus.Streaming) return seen.Lane.Status.ToString();
            return seen.Shots.Count + " shots" + (seen.Last.Length > 0 ? ", the last " + seen.Last : "");
        }

        private void DrawTarget(Rect paper) {
            GUI.DrawTexture(paper, face);
            if (shown == null) return;
            foreach (var record in shown.Trace) Mark(paper, record, 3, Color.cyan);
            foreach (var record in shown.Shots) Mark(paper, record, 5.6f, Color.yellow);
            if (shown.Shots.Count > 0) Mark(paper, shown.Shots[shown.Shots.Count - 1], 7, Color.red);
        }

        private void Mark(Rect paper, Record record, float millimetres, Color color) {
            var scale = paper.width / PaperMillimetres;
            var size = millimetres * scale;
            var x = paper.width / 2 + (float)record.PositionX * scale;
            var y = paper.height / 2 - (float)record.PositionY * scale; // the screen's runs down
            GUI.color = color;
            GUI.DrawTexture(new Rect(paper.x + x - size / 2, paper.y + y - size / 2, size, size), dot);
            GUI.color = Color.white;
        }

        // Rings 50 mm apart in diameter, black from the seven on.
        private static Texture2D Face(int size) {
            return Paint(size, radius => {
                var millimetres = radius * PaperMillimetres;
                var line = millimetres <= 251 && millimetres % 25 < 1.1f;
                var black = millimetres <= 100;
                return line == black ? Color.white : Color.black;
            });
        }

        private static Texture2D Disc(int size) {
            return Paint(size, radius => radius <= 0.5f ? Color.white : Color.clear);
        }

        // The colour by the distance from the middle, of which the side is 1.
        private static Texture2D Paint(int size, System.Func<float, Color> colorAt) {
            var pixels = new Color[size * size];
            for (var i = 0; i < pixels.Length; ++i) {
                float x = (i % size + 0.5f) / size - 0.5f, y = (i / size + 0.5f) / size - 0.5f;
                pixels[i] = colorAt(Mathf.Sqrt(x * x + y * y));
            }
            var texture = new Texture2D(size, size);
            texture.SetPixels(pixels);
            texture.Apply();
            return texture;
        }
    }
}
